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
// A stream's "data" is taken as one flat sequence of values: each element's
// channels one after another, packed, so that reading and writing again
// gives the same numbers whatever the stride says. The byte buffer holds
// size x stride bytes; a stride beyond the channels leaves zeros at its end.
//
// While it reads, the reader keeps error-context entries ("node pCube1",
// "geometry body", "stream 3", "key local"), so a failed check's report
// names the place. What a document can't fill is reported before anything
// is allocated for it: a negative size or stride, elements without
// channels, channels that need more bytes than the stride, a stride more
// than 64 bytes beyond its channels, a stream of 2 GiB or more, and a data
// array shorter than size x the channels' values. No allocation or loop is
// larger than the numbers the document holds can justify.
//
// Documents from outside (a file a user hands to twi check) should pass
// validate_scene_document (scene/document_schema.h) first, which lists
// every problem with its place instead of stopping at the first.
#pragma once

#include "foundation/config/dynamic_config_value.h"
#include "scene/scene_database.h"

namespace twi {

void read_scene_document(SceneDatabase& database, const foundation::DynamicConfigValue& root);

} // namespace twi
