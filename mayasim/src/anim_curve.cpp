#include "anim_curve.h"

#include <algorithm>
#include <math.h>

namespace mayasim {

namespace {

double slope_of(double x, double y) { return x != 0.0 ? y / x : 0.0; }

double chord(const AnimKey& a, const AnimKey& b) { return (b.value - a.value) / (b.time - a.time); }

// Values that clamped tangents treat as the same.
bool close_values(double a, double b) {
  double scale = std::max(1.0, std::max(fabs(a), fabs(b)));
  return fabs(a - b) <= 1e-5 * scale;
}

// The spline slope: the chord between the neighbours, or to the one
// neighbour at either end.
double spline_slope(const AnimKey* prev, const AnimKey& key, const AnimKey* next) {
  if (prev && next)
    return (next->value - prev->value) / (next->time - prev->time);
  if (prev)
    return chord(*prev, key);
  if (next)
    return chord(key, *next);
  return 0.0;
}

// Auto (and plateau): flat at the ends and at extremes; elsewhere the
// spline slope, limited to three times the slope of either neighbouring
// chord, which keeps the segment's control points between the neighbours'
// values so that the curve never overshoots a key.
double auto_slope(const AnimKey* prev, const AnimKey& key, const AnimKey* next) {
  if (!prev || !next)
    return 0.0;
  double target = (next->value - prev->value) / (next->time - prev->time);
  double before3 = 3.0 * chord(*prev, key);
  double after3 = 3.0 * chord(key, *next);
  bool before_up = before3 >= 0, after_up = after3 >= 0, target_up = target >= 0;
  if (before_up != after_up || target_up != after_up)
    return 0.0;
  if (after_up)
    return std::min(std::min(target, after3), before3);
  return std::max(std::max(target, after3), before3);
}

// The slope of one side of a key whose tangent type is worked out.
double side_slope(int type, bool in_side, const AnimKey* prev, const AnimKey& key, const AnimKey* next) {
  switch (type) {
  case TANGENT_LINEAR:
    if (in_side)
      return prev ? chord(*prev, key) : next ? chord(key, *next) : 0.0;
    return next ? chord(key, *next) : prev ? chord(*prev, key) : 0.0;
  case TANGENT_FLAT:
  case TANGENT_STEP:
  case TANGENT_STEP_NEXT:
    return 0.0;
  case TANGENT_CLAMPED:
    // Spline, except that the side facing a neighbour of (nearly) the same
    // value runs straight to it.
    if (in_side && prev && close_values(prev->value, key.value))
      return chord(*prev, key);
    if (!in_side && next && close_values(next->value, key.value))
      return chord(key, *next);
    return spline_slope(prev, key, next);
  case TANGENT_PLATEAU:
  case TANGENT_AUTO:
  case TANGENT_AUTO_MIX:
  case TANGENT_AUTO_EASE:
  case TANGENT_AUTO_CUSTOM:
    return auto_slope(prev, key, next);
  default: // spline, and the types evaluated as spline (slow, fast, global)
    return spline_slope(prev, key, next);
  }
}

// Hermite cubic through (t0, v0) and (t1, v1) with slopes m0 and m1.
double hermite(double t0, double v0, double m0, double t1, double v1, double m1, double t) {
  double dt = t1 - t0;
  double u = (t - t0) / dt;
  double u2 = u * u, u3 = u2 * u;
  return (2 * u3 - 3 * u2 + 1) * v0 + (u3 - 2 * u2 + u) * dt * m0 + (-2 * u3 + 3 * u2) * v1 + (u3 - u2) * dt * m1;
}

double cubic(double p0, double p1, double p2, double p3, double u) {
  double w = 1 - u;
  return w * w * w * p0 + 3 * w * w * u * p1 + 3 * w * u * u * p2 + u * u * u * p3;
}

// A Bézier cubic in (time, value): the value where its time is `t`. The
// inner control points' times are kept within the segment, so the time
// rises from t0 to t1 and bisection finds the parameter.
double bezier(double t0, double v0, double x1, double y1, double x2, double y2, double t1, double v1, double t) {
  x1 = std::min(std::max(x1, t0), t1);
  x2 = std::min(std::max(x2, t0), t1);
  double lo = 0, hi = 1;
  for (int i = 0; i < 64; ++i) {
    double mid = 0.5 * (lo + hi);
    if (cubic(t0, x1, x2, t1, mid) < t)
      lo = mid;
    else
      hi = mid;
  }
  return cubic(v0, y1, y2, v1, 0.5 * (lo + hi));
}

} // namespace

void AnimationCurve::prepare() {
  for (size_t i = 0; i < keys.size(); ++i) {
    AnimKey& k = keys[i];
    const AnimKey* prev = i > 0 ? &keys[i - 1] : nullptr;
    const AnimKey* next = i + 1 < keys.size() ? &keys[i + 1] : nullptr;
    // A worked-out tangent spans its neighbouring segment in time (the one
    // on its own side, or the other at an end), so that a weighted curve's
    // control point sits a third of the way along.
    double in_span = prev ? k.time - prev->time : next ? next->time - k.time : 1.0;
    double out_span = next ? next->time - k.time : prev ? k.time - prev->time : 1.0;
    if (k.in_type != TANGENT_FIXED) {
      k.in_x = in_span;
      k.in_y = side_slope(k.in_type, true, prev, k, next) * in_span;
    }
    if (k.out_type != TANGENT_FIXED) {
      k.out_x = out_span;
      k.out_y = side_slope(k.out_type, false, prev, k, next) * out_span;
    }
  }
}

bool AnimationCurve::has_approximated_types() const {
  if (keys.size() < 2)
    return false;
  for (const AnimKey& k : keys)
    for (int type : {k.in_type, k.out_type})
      switch (type) {
      case TANGENT_FIXED:
      case TANGENT_LINEAR:
      case TANGENT_FLAT:
      case TANGENT_SMOOTH:
      case TANGENT_STEP:
      case TANGENT_SPLINE:
      case TANGENT_CLAMPED:
      case TANGENT_PLATEAU:
      case TANGENT_STEP_NEXT:
      case TANGENT_AUTO:
        break;
      default:
        return true;
      }
  return false;
}

double AnimationCurve::evaluate(double seconds) const {
  if (keys.empty())
    return 0.0;
  const AnimKey& first = keys.front();
  const AnimKey& last = keys.back();
  double range = last.time - first.time;
  double t = seconds;
  double offset = 0.0;
  if (t < first.time || t > last.time) {
    bool before = t < first.time;
    int infinity = before ? pre_infinity : post_infinity;
    if (infinity == INFINITY_LINEAR) {
      if (before)
        return first.value - (first.time - t) * slope_of(first.in_x, first.in_y);
      return last.value + (t - last.time) * slope_of(last.out_x, last.out_y);
    }
    if (infinity == INFINITY_CONSTANT || range <= 0.0)
      return before ? first.value : last.value;
    // Repeats: how far into its repeat the time is, and which repeat.
    double from = before ? first.time - t : t - last.time;
    double repeats = floor(from / range);
    double into = from - repeats * range; // 0 <= into < range
    double number = repeats + 1;          // 1 for the repeat next to the keys
    bool mirrored = infinity == INFINITY_OSCILLATE && fmod(number, 2.0) != 0.0;
    if (before)
      t = mirrored ? first.time + into : last.time - into;
    else
      t = mirrored ? last.time - into : first.time + into;
    if (infinity == INFINITY_CYCLE_RELATIVE)
      offset = (before ? -number : number) * (last.value - first.value);
  }
  // The segment holding t: keys[j - 1] .. keys[j].
  auto after = std::upper_bound(keys.begin(), keys.end(), t,
                                [](double time, const AnimKey& k) { return time < k.time; });
  if (after == keys.begin())
    return first.value + offset;
  if (after == keys.end() || (after - 1)->time == t)
    return (after - 1)->value + offset;
  const AnimKey& a = *(after - 1);
  const AnimKey& b = *after;
  double value;
  if (a.out_type == TANGENT_STEP)
    value = a.value;
  else if (a.out_type == TANGENT_STEP_NEXT)
    value = b.value;
  else if (a.out_type == TANGENT_LINEAR && b.in_type == TANGENT_LINEAR)
    value = a.value + (b.value - a.value) * ((t - a.time) / (b.time - a.time));
  else if (!weighted)
    value = hermite(a.time, a.value, slope_of(a.out_x, a.out_y), b.time, b.value, slope_of(b.in_x, b.in_y), t);
  else
    value = bezier(a.time, a.value, a.time + a.out_x / 3, a.value + a.out_y / 3, b.time - b.in_x / 3,
                   b.value - b.in_y / 3, b.time, b.value, t);
  return value + offset;
}

} // namespace mayasim
