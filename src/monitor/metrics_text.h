#pragma once
// The Prometheus text exposition format: families with their HELP and TYPE lines, samples
// with escaped label values, histograms with cumulative buckets. Plain text building.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrix::monitor {

enum class MetricType { Counter, Gauge, Histogram };

using Labels = std::vector<std::pair<std::string_view, std::string_view>>;

// A label value between its quotes: backslash, double quote and line feed escaped.
std::string EscapeLabelValue(std::string_view value);
// A HELP text: backslash and line feed escaped.
std::string EscapeHelp(std::string_view help);
// A sample value: the shortest text that reads back the same double; +Inf, -Inf, NaN.
std::string MetricValue(double value);

class MetricsText {
 public:
  // Starts a family with its HELP and TYPE lines; its samples follow before the next family.
  void Family(std::string_view name, MetricType type, std::string_view help);
  // One sample; `suffix` is appended to the family's name (a histogram's "_bucket").
  void Sample(const Labels& labels, double value, std::string_view suffix = {});
  // A histogram's samples: one bucket per upper bound, counted cumulatively, then +Inf,
  // _sum and _count. `counts` has one entry per bound and one for above the last.
  void Histogram(const Labels& labels, const std::vector<double>& bounds, const std::vector<uint64_t>& counts,
                 double sum);

  const std::string& Text() const { return text_; }

 private:
  std::string text_;
  std::string family_;
};

}  // namespace tavrix::monitor
