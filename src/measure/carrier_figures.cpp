#include "measure/carrier_figures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace tavrix {

namespace {

constexpr float kLn10Over10 = 0.23025851f;

// How far an edge typed from a printed frequency may stand past the shown band's edge:
// half the sixth decimal, and the rounding of a single-precision edge.
double EdgeSlack(double edge) { return 5e-7 + std::fabs(edge) * 0x1p-22; }

float TracePoint::*TraceMember(int trace) {
  switch (trace) {
    case kPreviousTrace: return &TracePoint::Previous;
    case kVideoAverageTrace: return &TracePoint::VideoAverage;
    case kPeakHoldTrace: return &TracePoint::PeakHold;
    default: return &TracePoint::Current;
  }
}

}  // namespace

MeasuredTrace::MeasuredTrace(const TraceSet& traces, int trace, float freqScale)
    : traces_(&traces), member_(TraceMember(trace)), scale_(freqScale) {}

std::pair<int, int> MeasuredTrace::RanksInBand(BandMHz band) const {
  // The frequencies rise with the rank, and so do they divided by the scale.
  const auto firstRank = [&](auto inside) {
    int low = 0, high = kPointCount;
    while (low < high) {
      const int mid = (low + high) / 2;
      (inside(FrequencyMHz(IndexAt(mid))) ? high = mid : low = mid + 1);
    }
    return low;
  };
  const int first = firstRank([&](double f) { return f >= band.Low; });
  const int end = firstRank([&](double f) { return f > band.High; });
  return {first, std::max(first, end)};
}

BandMHz ShownBand(float freqLow, float freqHigh, float freqScale) {
  return {static_cast<double>(freqLow) / freqScale, static_cast<double>(freqHigh) / freqScale};
}

double LinearPower(float levelDb) { return std::exp(levelDb * kLn10Over10); }

double PowerDb(double power) { return 10.0 * std::log10(power); }

std::optional<CarrierFigures> MeasureCarrier(const MeasuredTrace& trace, BandMHz band) {
  const auto [first, end] = trace.RanksInBand(band);
  if (first == end) return std::nullopt;
  CarrierFigures f;
  f.Points = end - first;
  std::array<double, kPointCount> power;  // of the band's points, by rank from `first`
  double weighted = 0.0;  // by scaled frequency: divided by the scale once
  int peak = MeasuredTrace::IndexAt(first);
  float peakLevel = trace.LevelDb(peak);
  for (int r = first; r < end; ++r) {
    const int index = MeasuredTrace::IndexAt(r);
    const float level = trace.LevelDb(index);
    const double p = LinearPower(level);
    power[static_cast<size_t>(r - first)] = p;
    f.PowerSum += p;
    weighted += trace.ScaledFrequency(index) * p;
    if (level > peakLevel) peak = index, peakLevel = level;  // ties keep the lower frequency
  }
  f.Peak = trace.At(peak);
  f.ChannelPowerDb = PowerDb(f.PowerSum);
  f.CentreMHz = weighted / f.PowerSum / trace.Scale();
  // The running sum is added in the order of the total, so it reaches the total exactly.
  const double lowShare = 0.005 * f.PowerSum, highShare = 0.995 * f.PowerSum;
  double running = 0.0;
  int low = -1;
  for (int r = first; r < end; ++r) {
    running += power[static_cast<size_t>(r - first)];
    if (low < 0 && running >= lowShare) low = r;
    if (running >= highShare) {
      f.OccupiedLowMHz = trace.FrequencyMHz(MeasuredTrace::IndexAt(low));
      f.OccupiedHighMHz = trace.FrequencyMHz(MeasuredTrace::IndexAt(r));
      break;
    }
  }
  return f;
}

std::optional<double> MeanNoiseDensity(const MeasuredTrace& trace, const std::vector<BandMHz>& noise) {
  // A point of several stretches counts once: the stretches' ranks are joined first.
  std::vector<std::pair<int, int>> ranks;
  for (const BandMHz& stretch : noise)
    if (const auto r = trace.RanksInBand(stretch); r.first < r.second) ranks.push_back(r);
  std::sort(ranks.begin(), ranks.end());
  double sum = 0.0;
  int count = 0, done = 0;
  for (const auto& [first, end] : ranks) {
    for (int r = std::max(first, done); r < end; ++r, ++count)
      sum += LinearPower(trace.LevelDb(MeasuredTrace::IndexAt(r)));
    done = std::max(done, end);
  }
  if (count == 0) return std::nullopt;
  return sum / count;
}

CarrierToNoise CarrierToNoiseOf(const CarrierFigures& carrier, double noiseDensity) {
  const double noise = noiseDensity * carrier.Points;
  const double above = carrier.PowerSum - noise;
  if (!(above > 0.0) || !(noise > 0.0)) return {true, 0.0};
  return {false, PowerDb(above / noise)};
}

// The power of one point of noise-like signal (Gaussian noise, or a carrier modulated by
// random data) is exponentially distributed about its mean; other carriers stand well
// above it. So: start from the 10th percentile of the powers outside the band (a tenth of
// the mean of an exponential lies below 0.10536 of it), then repeat: keep the powers under
// three times the estimate and take their mean, corrected for the cut (an exponential
// below 3 times its mean averages 0.8429 of it). The cut drops carriers and their skirts
// while the correction keeps the noise unbiased; the step shrinks by more than half each
// time. Other carriers may cover most of the rest of the trace. A trace averaged in dB
// (the video average) reads about 2.5 dB low, and the peak hold high: both are no longer
// exponential.
std::optional<double> EstimateNoiseDensity(const MeasuredTrace& trace, BandMHz carrier) {
  const auto [first, end] = trace.RanksInBand(carrier);
  std::vector<double> power;
  power.reserve(kPointCount);
  for (int r = 0; r < kPointCount; ++r)
    if (r < first || r >= end) power.push_back(LinearPower(trace.LevelDb(MeasuredTrace::IndexAt(r))));
  if (power.empty()) return std::nullopt;
  const auto tenth = power.begin() + static_cast<std::ptrdiff_t>(power.size() / 10);
  std::nth_element(power.begin(), tenth, power.end());
  double estimate = *tenth / 0.10536051565782628;  // -ln(0.9)
  constexpr double kCut = 3.0;
  const double correction = (1.0 - std::exp(-kCut)) / (1.0 - (1.0 + kCut) * std::exp(-kCut));
  for (int round = 0; round < 60 && estimate > 0.0; ++round) {
    double sum = 0.0;
    int kept = 0;
    for (const double p : power)
      if (p < kCut * estimate) sum += p, ++kept;
    if (kept == 0) break;
    const double next = sum / kept * correction;
    const bool settled = std::fabs(next - estimate) <= 1e-9 * estimate;
    estimate = next;
    if (settled) break;
  }
  return estimate;
}

std::string BandProblem(const MeasuredTrace& trace, BandMHz band, BandMHz shown, const std::string& what) {
  const std::string named = what + " " + BandText(band) + " MHz";
  if (band.Low > band.High) return named + " is reversed: give the lower frequency first";
  if (band.Low < shown.Low - EdgeSlack(shown.Low) || band.High > shown.High + EdgeSlack(shown.High))
    return named + " reaches outside the band shown, " + BandText(shown) + " MHz";
  if (const auto [first, end] = trace.RanksInBand(band); first == end) return named + " holds no point of the trace";
  return {};
}

std::string BandText(BandMHz band) {
  char text[96];
  std::snprintf(text, sizeof text, "%.6f-%.6f", band.Low, band.High);
  return text;
}

std::string MeasurementCsvHeader() {
  return "Band,Points,ChannelPower,PeakFrequency,PeakLevel,CentreFrequency,OccupiedBandwidth,NoiseDensity,CN\n";
}

std::string MeasurementCsvLine(BandMHz band, const CarrierFigures& carrier, std::optional<double> noiseDensity) {
  char text[256];
  std::snprintf(text, sizeof text, "%s,%d,%.3f,%.6f,%.3f,%.6f,%.6f,", BandText(band).c_str(), carrier.Points,
                carrier.ChannelPowerDb, carrier.Peak.FrequencyMHz, carrier.Peak.LevelDb, carrier.CentreMHz,
                carrier.OccupiedBandwidthMHz());
  std::string line = text;
  if (noiseDensity) {
    const CarrierToNoise cn = CarrierToNoiseOf(carrier, *noiseDensity);
    std::snprintf(text, sizeof text, "%.3f,", PowerDb(*noiseDensity));
    line += text;
    if (cn.BelowNoise) {
      line += "below noise";
    } else {
      std::snprintf(text, sizeof text, "%.3f", cn.Db);
      line += text;
    }
  } else {
    line += ',';
  }
  return line + '\n';
}

}  // namespace tavrix
