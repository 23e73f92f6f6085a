// Maya matrices as the document stores them.
//
// MMatrix::get copies the matrix into 16 floats in Maya's row-major order
// (element 4r + c is row r, column c). Maya multiplies row vectors by the
// matrix, so the translation is the fourth row, elements 12, 13 and 14; only
// those three carry a length and are multiplied by the unit scale.
#pragma once

#include <maya/MMatrix.h>

namespace twi {

inline void store_matrix(const MMatrix& matrix, float unit_scale, float out[16]) {
  float rows[4][4];
  matrix.get(rows);
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      out[4 * r + c] = rows[r][c];
  out[12] *= unit_scale;
  out[13] *= unit_scale;
  out[14] *= unit_scale;
}

} // namespace twi
