// The export driver: one export from Maya's scene to the twi file.
//
// export_scene fixes the time range from the playback range, captures the
// active selection, exports every root transform (a transform whose first
// parent does not pass the node filter) with its subtree, then turns the
// database into the document, the document into SJSON text and the text
// into the output file, in one piece and only once the text is complete.
// It returns false when the DAG cannot be walked or a node export fails;
// then nothing is written and the log explains why.
//
// should_export_node is the one node filter, for roots and for children:
// a DAG node function set attaches; not a default, shared or intermediate
// node; a transform and not a 3D manipulator; in the selection when only
// the selection is exported; visible unless hidden nodes are exported.
// Neither selection nor visibility is inherited.
#pragma once

#include "exporter/exporter_context.h"
#include <maya/MDagPath.h>

namespace twi {

bool export_scene(ExporterContext& context);
bool should_export_node(ExporterContext& context, const MDagPath& path);

} // namespace twi
