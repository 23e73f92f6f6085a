// Checking a SceneDatabase against the invariants the format promises.
//
// Every violation is reported with its place, for example
//   "node rig > children: no node named arm"
//   "geometry body > stream 2: stride is 12 but the channels take 8 bytes"
//   "geometry body > indices > list 0 > entry 7: index 40 is not below the stream size 24"
// The checks: referenced nodes, geometries and skins exist; each stream's
// stride is the sum of its channel sizes and its data is size * stride
// bytes; there is one index list per stream with `size` entries, each below
// its stream's size, and `size` is a multiple of three; material primitives
// are below the triangle count; following children from the roots reaches
// every node exactly once; animations name existing nodes and have one time
// per sample; every float is finite.
#pragma once

#include "scene/scene_database.h"

namespace twi {

// Appends one text per violation to `problems`; returns whether there was
// none. What is allowed but probably unintended goes to `warnings` when it
// is given: a skin whose joints are not nodes of the document (their nodes
// were not exported).
bool check_scene(const SceneDatabase& database, Vector<String>& problems, Vector<String>* warnings = nullptr);

// Whether every float of the database is finite: the text format has no
// way to write an infinity or NaN, so a document holding one is read by no
// reader. When one is not, `place` says where, as
//   "node arm: local matrix, value 12"
//   "node arm: animation of matrix, sample 3 (time 0.125), value 12"
//   "geometry body: stream POSITION, element 7"
//   "skin body: joint arm's inverse bind matrix"
// (streams by their first channel's name) and `value` is the value.
bool find_non_finite(const SceneDatabase& database, String& place, float& value);

} // namespace twi
