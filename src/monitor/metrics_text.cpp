#include "monitor/metrics_text.h"

#include <charconv>
#include <cmath>

namespace tavrix::monitor {

namespace {

const char* TypeName(MetricType type) {
  switch (type) {
    case MetricType::Counter:
      return "counter";
    case MetricType::Gauge:
      return "gauge";
    case MetricType::Histogram:
      return "histogram";
  }
  return "untyped";
}

// Backslash and line feed escaped, and the double quote too when `quote`.
std::string Escaped(std::string_view text, bool quote) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c == '\\' || (quote && c == '"')) {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

std::string EscapeLabelValue(std::string_view value) { return Escaped(value, true); }

std::string EscapeHelp(std::string_view help) { return Escaped(help, false); }

std::string MetricValue(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

void MetricsText::Family(std::string_view name, MetricType type, std::string_view help) {
  family_ = name;
  text_ += "# HELP ";
  text_ += name;
  text_ += ' ';
  text_ += EscapeHelp(help);
  text_ += "\n# TYPE ";
  text_ += name;
  text_ += ' ';
  text_ += TypeName(type);
  text_ += '\n';
}

void MetricsText::Sample(const Labels& labels, double value, std::string_view suffix) {
  text_ += family_;
  text_ += suffix;
  if (!labels.empty()) {
    text_ += '{';
    for (size_t i = 0; i < labels.size(); ++i) {
      if (i > 0) text_ += ',';
      text_ += labels[i].first;
      text_ += "=\"";
      text_ += EscapeLabelValue(labels[i].second);
      text_ += '"';
    }
    text_ += '}';
  }
  text_ += ' ';
  text_ += MetricValue(value);
  text_ += '\n';
}

void MetricsText::Histogram(const Labels& labels, const std::vector<double>& bounds,
                            const std::vector<uint64_t>& counts, double sum) {
  uint64_t running = 0;
  for (size_t i = 0; i <= bounds.size(); ++i) {
    running += i < counts.size() ? counts[i] : 0;
    const std::string le = i < bounds.size() ? MetricValue(bounds[i]) : "+Inf";
    Labels withBound = labels;
    withBound.emplace_back("le", le);
    Sample(withBound, static_cast<double>(running), "_bucket");
  }
  Sample(labels, sum, "_sum");
  Sample(labels, static_cast<double>(running), "_count");
}

}  // namespace tavrix::monitor
