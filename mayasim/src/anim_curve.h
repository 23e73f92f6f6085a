// Animation curves as Maya keeps and evaluates them: keys with in and out
// tangents of a type, segments between keys that are Hermite cubics
// (unweighted curves) or Bézier cubics in time and value (weighted curves),
// and what the curve does before its first key and after its last.
//
// Times are seconds and values internal units (centimetres, radians), as
// Maya stores them; tangents are (x, y) pairs with x in seconds and y in the
// value's internal unit. Tangents of every type but fixed are worked out from
// the keys (prepare); fixed tangents are the stored ones.
#pragma once

#include <vector>

namespace mayasim {

// Maya's tangent types, by the numbers the animCurve node stores.
enum TangentType {
  TANGENT_GLOBAL = 0,
  TANGENT_FIXED = 1,
  TANGENT_LINEAR = 2,
  TANGENT_FLAT = 3,
  TANGENT_SMOOTH = 4, // an old name for spline
  TANGENT_STEP = 5,
  TANGENT_SLOW = 6,
  TANGENT_FAST = 7,
  TANGENT_SPLINE = 9,
  TANGENT_CLAMPED = 10,
  TANGENT_PLATEAU = 16,
  TANGENT_STEP_NEXT = 17,
  TANGENT_AUTO = 18,
  TANGENT_AUTO_MIX = 27,
  TANGENT_AUTO_EASE = 28,
  TANGENT_AUTO_CUSTOM = 29,
};

// What a curve does outside its keys (the node's preInfinity/postInfinity).
enum InfinityType {
  INFINITY_CONSTANT = 0,
  INFINITY_LINEAR = 1,
  INFINITY_CYCLE = 3,
  INFINITY_CYCLE_RELATIVE = 4, // cycle, each repeat offset by the curve's rise
  INFINITY_OSCILLATE = 5,
};

struct AnimKey {
  double time = 0;  // seconds
  double value = 0; // internal units
  int in_type = TANGENT_LINEAR;
  int out_type = TANGENT_LINEAR;
  // The tangents: the stored ones for fixed types, the worked-out ones after
  // prepare() for the others.
  double in_x = 1, in_y = 0;
  double out_x = 1, out_y = 0;
};

struct AnimationCurve {
  std::vector<AnimKey> keys; // in time order, no two at one time
  bool weighted = false;
  int pre_infinity = INFINITY_CONSTANT;
  int post_infinity = INFINITY_CONSTANT;

  // Works out the tangents of every key whose type is not fixed (see
  // anim_curve.cpp for the rules of each type). Call after changing keys.
  void prepare();
  double evaluate(double seconds) const;
  // Whether any key has a type evaluated by the rules of another one
  // (slow, fast, auto mix/ease/custom), for a loader's warning.
  bool has_approximated_types() const;
};

} // namespace mayasim
