#include "exporter/mesh_export.h"

namespace twi {

bool export_mesh(ExporterContext& context, SceneDatabase&, const char* name, const MDagPath&) {
  append_log(context, " - Mesh of ");
  append_log(context, name);
  append_log(context, " skipped: mesh capture is not available in this build\n");
  show_log(context);
  return true;
}

} // namespace twi
