// Makes mayasim's scene from what a Maya ASCII file held: evaluates each
// mesh's geometry (stored, or from the creators and pass-through nodes of its
// construction history), the skin clusters, the shading assignments, the
// animation curves on transform channels, the playback range and current
// time. What it cannot evaluate becomes a warning naming the node; such a
// mesh is left without geometry.
#pragma once

#include "file_scene.h"

namespace mayasim {
namespace maya_ascii {

void build_scene(FileScene& file);

} // namespace maya_ascii
} // namespace mayasim
