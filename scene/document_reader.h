// read_scene_document: a twi document tree back into a SceneDatabase.
//
// The keys, kinds and nesting are those of write_scene_document. Required
// values of the wrong kind or missing end in an assertion: "is_integer()"
// for a number (a float is taken as it is, an integer converted), and
// "is_string()" for a text. Optional arrays that hold something else count
// as empty; an unknown channel type reads as CT_FLOAT1 and an unknown index
// type as TRIANGLE_LIST. Roots and children come back in key order (the text
// keeps no capture order); animations keep their order.
//
// While it reads, the reader keeps error-context entries ("node pCube1",
// "geometry body", "stream 3", "key local"), so a failed check's report
// names the place. A stream whose channels need more bytes than its stride,
// or whose size and stride don't fit in memory, is reported instead of
// written past the end ("stride smaller than the channels").
#pragma once

#include "foundation/config/dynamic_config_value.h"
#include "scene/scene_database.h"

namespace twi {

void read_scene_document(SceneDatabase& database, const foundation::DynamicConfigValue& root);

} // namespace twi
