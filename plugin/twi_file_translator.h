// TwiFileTranslator: the file translator TarnwickIntermediate (.twi), write
// only, behind Maya's Export All and Export Selection.
//
// The options string comes from the options script: ";"-separated key=value
// pairs; "export_hidden" and "animation_only" are read, a value counting as
// true only when it is exactly "true", later pairs overriding earlier ones.
// Export Selection (kExportActiveAccessMode) exports the selected nodes only.
// Everything of a run comes from the foundation's default allocator, the
// translator object included (its own operator new and delete).
#pragma once

#include "exporter/exporter_context.h"

#include <maya/MPxFileTranslator.h>

#include <stddef.h>

namespace twi {

class TwiFileTranslator : public MPxFileTranslator {
public:
  TwiFileTranslator();
  ~TwiFileTranslator() override;
  MStatus writer(const MFileObject& file, const MString& optionsString, FileAccessMode mode) override;
  bool haveReadMethod() const override;
  bool haveWriteMethod() const override;
  MString defaultExtension() const override;

  static void* creator();
  static void* operator new(size_t size);
  static void operator delete(void* p);
};

// Applies an options string to the settings.
void parse_translator_options(const MString& options, ExportSettings& settings);

} // namespace twi
