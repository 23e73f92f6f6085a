// glTF writer: a scene database as a glTF 2.0 asset, for viewers and for
// checking an export with tools that know nothing of the twi format.
//
// The twi model and glTF's differ in three ways that shape the conversion:
//   - twi keeps one index list per stream; glTF one index per vertex. A glTF
//     vertex is each distinct tuple of stream indices that a triangle corner
//     uses, numbered in the order corners first use them.
//   - twi matrices are Maya's row-vector matrices stored row by row; read
//     column by column they are glTF's column-vector matrices, so the 16
//     floats carry over as they stand. Nodes get translation, rotation and
//     scale where the matrix is one; animated nodes always do.
//   - twi samples animation as matrices; glTF animates translation, rotation
//     and scale channels, here with LINEAR interpolation at the same times.
// Units (metres) and the up axis (Y) are the same in both.
//
// What the document holds and glTF cannot say (smoothing groups, streams
// without a glTF attribute, a second geometry on one node, matrices with
// shear) is named in `notes`, never dropped silently. Data that no reader
// could use (an index beyond its stream, a joint number beyond its skin) is
// an error: the conversion stops and `error` says where.
#pragma once

#include "scene/scene_database.h"

namespace twi {

struct GltfOptions {
  // true: one .glb (JSON and binary chunks); false: .gltf JSON with the
  // buffer embedded as a base64 data URI.
  bool binary = true;
};

struct GltfSummary {
  uint32_t nodes = 0;
  uint32_t meshes = 0;
  uint32_t primitives = 0;
  uint32_t vertices = 0; // glTF vertices over all meshes
  uint32_t materials = 0;
  uint32_t skins = 0;
  uint32_t animation_channels = 0;
  // Skin vertices whose weights did not sum to 1 and were scaled so that
  // they do; those with no positive weight at all were bound wholly to the
  // skin's first joint (also counted in weights_normalised).
  uint32_t weights_normalised = 0;
  uint32_t unweighted = 0;
  // Colour components outside 0..1, clamped (glTF colours are in 0..1).
  uint32_t colours_clamped = 0;
  // Non-finite floats in vertex data, written as 0.
  uint32_t non_finite = 0;
};

// Writes `database` as glTF into `out` (replacing its content). Returns
// false with `error` set when the document's data cannot be converted; then
// `out` is unspecified. `notes` gets one line per thing not carried over.
bool write_gltf(const SceneDatabase& database, const GltfOptions& options, Vector<uint8_t>& out,
                GltfSummary& summary, Vector<String>& notes, String& error);

// Translation, rotation (unit quaternion x, y, z, w) and scale of a twi
// matrix. Returns true when the matrix is such a product to within float
// precision; otherwise fills the nearest one (the rotation orthonormalised,
// the shear and projection dropped) and returns false.
struct Trs {
  float translation[3];
  float rotation[4];
  float scale[3];
};
bool decompose_matrix(const float m[16], Trs& out);

// The twi matrix of `trs` (the inverse of decompose_matrix for a TRS matrix).
void compose_matrix(const Trs& trs, float m[16]);

} // namespace twi
