#include "exporter/exporter_context.h"

#include <maya/MDistance.h>
#include <maya/MGlobal.h>
#include <maya/MString.h>

#include <string.h>

namespace twi {

ExporterContext::ExporterContext(Allocator& a, ExportSettings& s)
    : allocator(&a), log(a), settings(&s), unit_scale(internal_unit_in_metres()),
      selection(a.make_new<MSelectionList>()), observer(nullptr), animated(a) {}

ExporterContext::~ExporterContext() { allocator->make_delete(selection); }

double animation_samples(double start, double end, uint32_t per_second) {
  double seconds = end - start;
  if (!(seconds - seconds == 0.0))
    return 1e300;
  return seconds > 0 ? seconds * double(per_second) + 1.0 : 1.0;
}

float internal_unit_in_metres() {
  return float(MDistance(1.0, MDistance::internalUnit()).as(MDistance::kMeters));
}

void append_log(ExporterContext& context, const char* text, uint32_t length) {
  context.log.push_back_n(text, length);
}

void append_log(ExporterContext& context, const char* text) { append_log(context, text, uint32_t(strlen(text))); }

const char* log_text(ExporterContext& context) {
  // A NUL after the last byte, not counted in the size.
  context.log.push_back('\0');
  context.log.pop_back();
  return context.log.data();
}

void show_log(ExporterContext& context) {
  MGlobal::displayInfo(MString(log_text(context)));
  context.log.set_size(0);
}

} // namespace twi
