// The twi format's shape, checked on a parsed document before it is read.
//
// read_scene_document trusts its input the way the format lets it: it
// stops at the first key of a wrong kind, and reads a stream's data by its
// size without asking whether the text holds that many numbers. A tool that
// reads documents it did not write (twi check, twi info) first hands the
// parsed tree to validate_scene_document, which walks it against the format
// (docs/twi-format.md) and reports every problem with its place:
//
//   "geometries > body > streams > 1 > data: holds 30 numbers, not size 8 x 3 floats"
//   "nodes > rig > local: holds 17 numbers, not 16"
//   "animations: is an object, not an array"
//
// What it checks: the kind of every key, the keys that must be there, no key
// the format does not have, the lengths of matrices, the number of values in
// each stream's data (size x the channels' floats), that each stride is the
// sum of its channels' sizes, that channel types are ones the format names,
// that there is one index list per stream with `size` entries, and that
// integers that count or index are not negative. It does not follow names
// from one part to another (that a geometry a node names exists, that an
// index is below its stream's size): check_scene does that on the database.
//
// The walk is bounded by the tree, which is bounded by the text; at most
// `max_problems` problems are listed, then one line says how many more
// there were.
#pragma once

#include "foundation/collection/string.h"
#include "foundation/collection/vector.h"
#include "foundation/config/dynamic_config_value.h"

namespace twi {

// Appends one text per problem to `problems`; returns whether there was none.
bool validate_scene_document(const foundation::DynamicConfigValue& root, foundation::Vector<foundation::String>& problems,
                             uint32_t max_problems = 100);

} // namespace twi
