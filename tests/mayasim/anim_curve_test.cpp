// Animation curves evaluated as Maya evaluates them: values worked out by
// hand for each tangent type, weighted curves and the infinities.
#include "mayasim/src/anim_curve.h"

#include <gtest/gtest.h>

using namespace mayasim;

namespace {

AnimationCurve curve(std::initializer_list<std::pair<double, double>> keys, int type) {
  AnimationCurve c;
  for (const auto& k : keys) {
    AnimKey key;
    key.time = k.first;
    key.value = k.second;
    key.in_type = key.out_type = type;
    c.keys.push_back(key);
  }
  c.prepare();
  return c;
}

// Hermite basis at u for a segment of length 1.
double hermite(double v0, double m0, double v1, double m1, double u) {
  return (2 * u * u * u - 3 * u * u + 1) * v0 + (u * u * u - 2 * u * u + u) * m0 + (-2 * u * u * u + 3 * u * u) * v1 +
         (u * u * u - u * u) * m1;
}

} // namespace

TEST(AnimCurve, LinearKeysInterpolateAndHoldTheirEnds) {
  AnimationCurve c = curve({{0, 0}, {2, 10}}, TANGENT_LINEAR);
  EXPECT_DOUBLE_EQ(5.0, c.evaluate(1.0));
  EXPECT_DOUBLE_EQ(2.5, c.evaluate(0.5));
  EXPECT_DOUBLE_EQ(0.0, c.evaluate(-1.0)) << "constant before";
  EXPECT_DOUBLE_EQ(10.0, c.evaluate(3.0)) << "constant after";
  EXPECT_DOUBLE_EQ(10.0, c.evaluate(2.0));
}

TEST(AnimCurve, FlatSplineAndFixedTangentsMakeHermiteSegments) {
  // Flat: 3u^2 - 2u^3 of the rise; at a quarter, 0.15625.
  EXPECT_DOUBLE_EQ(1.5625, curve({{0, 0}, {1, 10}}, TANGENT_FLAT).evaluate(0.25));
  // Spline over (0,0) (1,1) (2,0): the middle key's slope is the chord
  // between its neighbours (0); the first key's is the chord to the next (1).
  AnimationCurve spline = curve({{0, 0}, {1, 1}, {2, 0}}, TANGENT_SPLINE);
  EXPECT_NEAR(0.625, spline.evaluate(0.5), 1e-12);
  EXPECT_NEAR(hermite(0, 1, 1, 0, 0.25), spline.evaluate(0.25), 1e-12);
  // Fixed tangents are the stored ones: slope y / x per second.
  AnimationCurve fixed = curve({{0, 0}, {1, 0}}, TANGENT_FIXED);
  fixed.keys[0].out_x = 0.5;
  fixed.keys[0].out_y = 1.0; // slope 2
  fixed.keys[1].in_x = 1.0;
  fixed.keys[1].in_y = -1.0; // slope -1
  EXPECT_NEAR(hermite(0, 2, 0, -1, 0.5), fixed.evaluate(0.5), 1e-12);
  EXPECT_NEAR(0.375, fixed.evaluate(0.5), 1e-12);
}

TEST(AnimCurve, StepsHoldAValueUntilTheNextKey) {
  AnimationCurve step = curve({{0, 0}, {1, 10}}, TANGENT_STEP);
  EXPECT_DOUBLE_EQ(0.0, step.evaluate(0.99));
  EXPECT_DOUBLE_EQ(10.0, step.evaluate(1.0));
  AnimationCurve next = curve({{0, 0}, {1, 10}}, TANGENT_STEP_NEXT);
  EXPECT_DOUBLE_EQ(10.0, next.evaluate(0.01));
  EXPECT_DOUBLE_EQ(0.0, next.evaluate(0.0));
}

TEST(AnimCurve, AutoAndPlateauAreFlatAtEndsAndExtremesAndNeverOvershoot) {
  // (0,0) (1,5) (2,6): the middle slope, 3 (the neighbours' chord), is
  // limited to 3 x the chord to the next key (3): it stays 3.
  for (int type : {TANGENT_AUTO, TANGENT_PLATEAU}) {
    AnimationCurve c = curve({{0, 0}, {1, 5}, {2, 6}}, type);
    EXPECT_NEAR(hermite(5, 3, 6, 0, 0.5), c.evaluate(1.5), 1e-12) << type;
    EXPECT_NEAR(5.875, c.evaluate(1.5), 1e-12) << type;
    EXPECT_NEAR(hermite(0, 0, 5, 3, 0.5), c.evaluate(0.5), 1e-12) << "first key flat, " << type;
    // An extreme is flat, so no value passes the key's.
    AnimationCurve peak = curve({{0, 0}, {1, 5}, {2, 0}}, type);
    for (double t = 0; t <= 2; t += 0.05)
      EXPECT_LE(peak.evaluate(t), 5.0 + 1e-12) << t;
  }
  // (0,0) (1,1) (2,10): the spline slope 5 makes the first segment dip
  // back; auto limits it to 3 x the chord from the previous key (3), and the
  // curve rises all the way.
  AnimationCurve steep = curve({{0, 0}, {1, 1}, {2, 10}}, TANGENT_AUTO);
  AnimationCurve spline = curve({{0, 0}, {1, 1}, {2, 10}}, TANGENT_SPLINE);
  EXPECT_NEAR(hermite(0, 0, 1, 3, 0.5), steep.evaluate(0.5), 1e-12);
  bool spline_dips = false;
  for (double t = 0; t < 2; t += 0.05) {
    EXPECT_GE(steep.evaluate(t + 0.05), steep.evaluate(t) - 1e-12) << t;
    spline_dips = spline_dips || spline.evaluate(t + 0.05) < spline.evaluate(t);
  }
  EXPECT_TRUE(spline_dips);
}

TEST(AnimCurve, ClampedRunsStraightToANeighbourOfTheSameValue) {
  // (0,0) (1,0) (2,5): key 1's in side faces a key of its value (slope 0),
  // its out side is spline (5 / 2); the last key's slope is the chord to
  // its one neighbour (5).
  AnimationCurve c = curve({{0, 0}, {1, 0}, {2, 5}}, TANGENT_CLAMPED);
  EXPECT_NEAR(0.0, c.evaluate(0.5), 1e-12) << "no dip below the two equal keys";
  EXPECT_NEAR(hermite(0, 2.5, 5, 5, 0.5), c.evaluate(1.5), 1e-12);
  EXPECT_NEAR(2.1875, c.evaluate(1.5), 1e-12);
  AnimationCurve spline = curve({{0, 0}, {1, 0}, {2, 5}}, TANGENT_SPLINE);
  EXPECT_LT(spline.evaluate(0.5), -0.1) << "spline dips between the equal keys";
}

TEST(AnimCurve, WeightedCurvesAreBezierSegmentsInTimeAndValue) {
  // Tangents one and a half seconds long put the control points at
  // (0.5, 0) and (0.5, 1): at parameter 1/4 the time is 0.296875 and the
  // value 0.15625.
  AnimationCurve c = curve({{0, 0}, {1, 1}}, TANGENT_FIXED);
  c.weighted = true;
  c.keys[0].out_x = 1.5;
  c.keys[0].out_y = 0;
  c.keys[1].in_x = 1.5;
  c.keys[1].in_y = 0;
  EXPECT_NEAR(0.15625, c.evaluate(0.296875), 1e-9);
  EXPECT_NEAR(0.5, c.evaluate(0.5), 1e-9);
  // Unweighted, the same tangents give the flat Hermite segment.
  c.weighted = false;
  double u = 0.296875;
  EXPECT_NEAR(3 * u * u - 2 * u * u * u, c.evaluate(u), 1e-12);
  // Worked-out tangents span a third of their segment: a weighted spline
  // curve is the unweighted one.
  AnimationCurve spline = curve({{0, 0}, {1, 1}, {3, 0}}, TANGENT_SPLINE);
  AnimationCurve weighted = spline;
  weighted.weighted = true;
  for (double t = 0; t <= 3; t += 0.25)
    EXPECT_NEAR(spline.evaluate(t), weighted.evaluate(t), 1e-9) << t;
}

TEST(AnimCurve, InfinitiesRepeatOffsetMirrorOrExtendTheCurve) {
  AnimationCurve c = curve({{0, 0}, {1, 10}}, TANGENT_LINEAR);
  c.post_infinity = INFINITY_CYCLE;
  EXPECT_NEAR(5.0, c.evaluate(1.5), 1e-12);
  EXPECT_NEAR(2.5, c.evaluate(3.25), 1e-12);
  c.post_infinity = INFINITY_CYCLE_RELATIVE;
  EXPECT_NEAR(15.0, c.evaluate(1.5), 1e-12);
  EXPECT_NEAR(32.5, c.evaluate(3.25), 1e-12);
  c.post_infinity = INFINITY_OSCILLATE;
  EXPECT_NEAR(7.5, c.evaluate(1.25), 1e-12) << "going back";
  EXPECT_NEAR(2.5, c.evaluate(2.25), 1e-12) << "forward again";
  c.post_infinity = INFINITY_LINEAR;
  EXPECT_NEAR(20.0, c.evaluate(2.0), 1e-12);
  c.pre_infinity = INFINITY_CYCLE;
  EXPECT_NEAR(7.5, c.evaluate(-0.25), 1e-12);
  c.pre_infinity = INFINITY_CYCLE_RELATIVE;
  EXPECT_NEAR(-2.5, c.evaluate(-0.25), 1e-12);
  EXPECT_NEAR(-12.5, c.evaluate(-1.25), 1e-12);
  c.pre_infinity = INFINITY_OSCILLATE;
  EXPECT_NEAR(2.5, c.evaluate(-0.25), 1e-12);
  c.pre_infinity = INFINITY_LINEAR;
  EXPECT_NEAR(-10.0, c.evaluate(-1.0), 1e-12);
  // A single key: every infinity is its value.
  AnimationCurve one = curve({{1, 4}}, TANGENT_AUTO);
  one.pre_infinity = one.post_infinity = INFINITY_CYCLE;
  EXPECT_DOUBLE_EQ(4.0, one.evaluate(-3.0));
  EXPECT_DOUBLE_EQ(4.0, one.evaluate(7.0));
}

TEST(AnimCurve, TypesEvaluatedByOtherRulesAreFlagged) {
  EXPECT_FALSE(curve({{0, 0}, {1, 1}}, TANGENT_AUTO).has_approximated_types());
  EXPECT_TRUE(curve({{0, 0}, {1, 1}}, TANGENT_AUTO_EASE).has_approximated_types());
  EXPECT_TRUE(curve({{0, 0}, {1, 1}}, TANGENT_SLOW).has_approximated_types());
  EXPECT_FALSE(curve({{0, 0}}, TANGENT_SLOW).has_approximated_types()) << "one key: nothing to evaluate";
}
