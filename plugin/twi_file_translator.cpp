#include "plugin/twi_file_translator.h"

#include "foundation/collection/vector.h"
#include "foundation/memory/memory_globals.h"
#include "plugin/run_export.h"

#include <maya/MFileObject.h>
#include <maya/MString.h>
#include <maya/MStringArray.h>

#include <string.h>

using namespace foundation;

namespace twi {

TwiFileTranslator::TwiFileTranslator() {}
TwiFileTranslator::~TwiFileTranslator() {}

void* TwiFileTranslator::creator() { return new TwiFileTranslator; }

void* TwiFileTranslator::operator new(size_t size) {
  return memory_globals::default_allocator().allocate(uint32_t(size), align_of<TwiFileTranslator>());
}

void TwiFileTranslator::operator delete(void* p) { memory_globals::default_allocator().deallocate(p); }

bool TwiFileTranslator::haveReadMethod() const { return false; }
bool TwiFileTranslator::haveWriteMethod() const { return true; }
MString TwiFileTranslator::defaultExtension() const { return "twi"; }

void parse_translator_options(const MString& options, ExportSettings& settings) {
  if (options.length() == 0)
    return;
  MStringArray pairs;
  options.split(';', pairs);
  for (unsigned i = 0; i < pairs.length(); ++i) {
    MStringArray parts;
    pairs[i].split('=', parts);
    // Only the parts the split produced are read: a pair without "=" has
    // no value, and a missing value is not "true".
    if (parts.length() == 0)
      continue;
    bool value = parts.length() > 1 && parts[1] == "true";
    if (parts[0] == "export_hidden")
      settings.export_hidden = value;
    else if (parts[0] == "animation_only")
      settings.animation_only = value;
    else if (parts[0] == "max_influences")
      // 1 to 4; anything else leaves the refusal of more than four.
      settings.max_influences = parts.length() > 1 && (parts[1] == "1" || parts[1] == "2" || parts[1] == "3" ||
                                                       parts[1] == "4")
                                    ? uint32_t(parts[1].asChar()[0] - '0')
                                    : 0;
  }
}

MStatus TwiFileTranslator::writer(const MFileObject& file, const MString& optionsString, FileAccessMode mode) {
  Allocator& allocator = memory_globals::default_allocator();
  // The run's own copy of the path, with its terminating NUL. (The path as
  // Maya resolved it: fullName() is obsolete and an alias of this.)
  MString full_name = file.expandedFullName();
  const char* text = full_name.asUTF8();
  uint32_t length = uint32_t(strlen(text)) + 1;
  Vector<char> path(allocator);
  path.reserve(length > 10 ? length : 10);
  path.push_back_n(text, length);

  ExportSettings settings;
  settings.file = path.data();
  parse_translator_options(optionsString, settings);
  settings.selected = mode == MPxFileTranslator::kExportActiveAccessMode;
  return run_export(allocator, settings);
}

} // namespace twi
