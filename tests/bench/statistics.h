// SPDX-License-Identifier: Apache-2.0
// The few statistics that the table needs.
#ifndef TVUREV_TESTS_BENCH_STATISTICS_H_
#define TVUREV_TESTS_BENCH_STATISTICS_H_

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

// The value below which the fraction of the values lies, between neighbours in
// proportion; 0 of none.
inline double quantile(std::vector<double> values, double fraction) {
  if (values.empty()) {
    return 0;
  }
  std::ranges::sort(values);
  const double place = fraction * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, values.size() - 1);
  return std::lerp(values[below], values[above], place - std::floor(place));
}

inline double median(const std::vector<double>& values) {
  return quantile(values, 0.5);
}

struct Point {
  double x;
  double y;
};

// The slope of the straight line that is nearest to the points; 0 of fewer than
// two.
inline double slope(const std::vector<Point>& points) {
  const auto count = static_cast<double>(points.size());
  double x = 0;
  double y = 0;
  double xx = 0;
  double xy = 0;
  for (const Point& point : points) {
    x += point.x;
    y += point.y;
    xx += point.x * point.x;
    xy += point.x * point.y;
  }
  const double spread = count * xx - x * x;
  return spread == 0 ? 0 : (count * xy - x * y) / spread;
}

#endif  // TVUREV_TESTS_BENCH_STATISTICS_H_
