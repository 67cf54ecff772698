#include "measure/band_watch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tavrix {

namespace {

bool SameBand(const std::optional<BandMHz>& a, const std::optional<BandMHz>& b) {
  return a.has_value() == b.has_value() && (!a || (a->Low == b->Low && a->High == b->High));
}

std::string Printed(const char* format, double a, double b = 0.0) {
  char text[96];
  std::snprintf(text, sizeof text, format, a, b);
  return text;
}

std::string Decibels(double db) { return Printed("%.3f dB", db); }

std::string Capitalised(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

}  // namespace

std::optional<BandMHz> BandBetween(const CursorMark& one, const CursorMark& two, double freqScale) {
  if (!one.Placed() || !two.Placed() || !(freqScale > 0)) return std::nullopt;
  const double a = one.X / freqScale, b = two.X / freqScale;
  return BandMHz{std::min(a, b), std::max(a, b)};
}

std::optional<CarrierToNoise> BandReading::CN() const {
  if (!Figures || !NoiseDensity) return std::nullopt;
  return CarrierToNoiseOf(*Figures, *NoiseDensity);
}

std::vector<FigureLine> FigureLines(const BandReading& r) {
  if (!r.Figures) return {{"Band", r.Problem}};
  const CarrierFigures& f = *r.Figures;
  const std::string estimated = r.NoiseEstimated ? " (estimated)" : "";
  std::vector<FigureLine> lines = {
      {"Band", Printed("%.6f to %.6f MHz", r.Band.Low, r.Band.High)},
      {"Points", std::to_string(f.Points)},
      {"Channel power", Decibels(f.ChannelPowerDb)},
      {"Peak", Decibels(f.Peak.LevelDb) + Printed(" at %.6f MHz", f.Peak.FrequencyMHz)},
      {"Centre", Printed("%.6f MHz", f.CentreMHz)},
      {"Occupied bandwidth", Printed("%.6f MHz (99 %%)", f.OccupiedBandwidthMHz())},
  };
  if (r.NoiseDensity) {
    const CarrierToNoise cn = CarrierToNoiseOf(f, *r.NoiseDensity);
    lines.push_back({"Noise density", Decibels(PowerDb(*r.NoiseDensity)) + "/point" + estimated});
    lines.push_back({"C/N", (cn.BelowNoise ? std::string("below noise") : Decibels(cn.Db)) + estimated});
  } else {
    lines.push_back({"Noise density", "none: every point of the trace lies in the band"});
    lines.push_back({"C/N", "none"});
  }
  if (!r.NoiseProblem.empty()) lines.push_back({"Noise band", Capitalised(r.NoiseProblem)});
  if (r.Averaged > 0) lines.push_back({"Average", std::to_string(r.Averaged) + (r.Averaged == 1 ? " capture" : " captures")});
  return lines;
}

std::vector<std::string> LimitBreaches(const BandReading& r, const BandLimits& limits) {
  std::vector<std::string> breaches;
  if (!r.Figures) return breaches;
  const auto below = [&](const char* name, double value, double limit) {
    breaches.push_back(std::string(name) + " " + Decibels(value) + " below " + Decibels(limit));
  };
  if (limits.ChannelPowerDb && r.Figures->ChannelPowerDb < *limits.ChannelPowerDb)
    below("Channel power", r.Figures->ChannelPowerDb, *limits.ChannelPowerDb);
  if (const auto cn = r.CN(); cn && limits.CarrierToNoiseDb) {
    if (cn->BelowNoise)
      breaches.push_back("C/N below noise, limit " + Decibels(*limits.CarrierToNoiseDb));
    else if (cn->Db < *limits.CarrierToNoiseDb)
      below("C/N", cn->Db, *limits.CarrierToNoiseDb);
  }
  return breaches;
}

bool BandWatch::AverageKey::operator==(const AverageKey& o) const {
  return Trace == o.Trace && First == o.First && Last == o.Last && FreqScale == o.FreqScale &&
         SameBand(Band, o.Band) && SameBand(Noise, o.Noise);
}

BandWatch::AverageKey BandWatch::KeyOf(const WatchInput& in, const WatchOptions& options) {
  AverageKey key;
  if (in.Traces == nullptr || in.Trace < 0 || !in.Band) return key;
  const MeasuredTrace trace(*in.Traces, in.Trace, in.FreqScale);
  key.Trace = in.Trace;
  key.First = trace.ScaledFrequency(MeasuredTrace::IndexAt(0));
  key.Last = trace.ScaledFrequency(MeasuredTrace::IndexAt(kPointCount - 1));
  key.FreqScale = in.FreqScale;
  key.Band = *in.Band;
  key.Noise = options.Noise;
  return key;
}

std::optional<double> BandWatch::NoiseOf(const MeasuredTrace& trace, const WatchInput& in, const WatchOptions& options,
                                         std::string* problem) {
  if (options.Noise) {
    std::string refused = BandProblem(trace, *options.Noise, in.Shown, "noise band");
    if (refused.empty()) return MeanNoiseDensity(trace, {*options.Noise});
    if (problem != nullptr) *problem = std::move(refused);
  }
  return EstimateNoiseDensity(trace, *in.Band);
}

void BandWatch::AddCapture(const WatchInput& in, const WatchOptions& options) {
  const AverageKey key = KeyOf(in, options);
  if (!options.Average || key.Trace < 0 || !(key == key_)) count_ = 0, key_ = key;
  if (!options.Average || key.Trace < 0 || !in.Traces->DataValid) return;
  const MeasuredTrace trace(*in.Traces, in.Trace, in.FreqScale);
  const std::optional<double> noise = NoiseOf(trace, in, options, nullptr);
  // Each capture weighs 1/n to start with, then 1 - e^(-1/T): an exponential window.
  ++count_;
  const double weight = std::max(1.0 / count_, 1.0 - std::exp(-1.0 / kAverageCaptures));
  const auto blend = [weight](double& average, double value) { average += weight * (value - average); };
  // The first capture weighs 1: it replaces whatever was there.
  noiseKnown_ = (count_ == 1 || noiseKnown_) && noise.has_value();
  if (noiseKnown_) blend(noise_, *noise);
  for (int i = 0; i < kPointCount; ++i) {
    auto& point = power_[static_cast<size_t>(i)];
    blend(point, LinearPower(trace.LevelDb(i)));
    averaged_.FreqPoints[static_cast<size_t>(i)].Current = trace.ScaledFrequency(i);
    averaged_.AmpPoints[static_cast<size_t>(i)].Current = static_cast<float>(PowerDb(point));
  }
}

BandReading BandWatch::Read(const WatchInput& in, const WatchOptions& options) const {
  BandReading r;
  if (in.Traces == nullptr || !in.Traces->DataValid) {
    r.Problem = "No capture received yet.";
  } else if (!in.Band) {
    r.Problem = "Place both cursors around the carrier: View > Set Cursor 1 Location, Set Cursor 2 Location.";
  } else if (in.Trace < 0) {
    r.Problem = "No trace is shown: switch one on in the Tools menu.";
  }
  if (!r.Problem.empty()) return r;
  r.Band = *in.Band;
  const MeasuredTrace shown(*in.Traces, in.Trace, in.FreqScale);
  r.Problem = Capitalised(BandProblem(shown, r.Band, in.Shown, "band"));
  if (!r.Problem.empty()) return r;
  const bool averaged = options.Average && count_ > 0 && KeyOf(in, options) == key_;
  const MeasuredTrace trace = averaged ? MeasuredTrace(averaged_, kCurrentTrace, in.FreqScale) : shown;
  r.Figures = MeasureCarrier(trace, r.Band);
  r.NoiseDensity = NoiseOf(shown, in, options, &r.NoiseProblem);
  r.NoiseEstimated = !options.Noise || !r.NoiseProblem.empty();
  if (averaged) {
    r.Averaged = count_;
    r.NoiseDensity = noiseKnown_ ? std::optional<double>(noise_) : std::nullopt;
  }
  return r;
}

std::vector<AlarmChange> BandWatch::CheckLimits(const BandReading& reading, const BandLimits& limits) {
  std::vector<AlarmChange> changes;
  const std::string band = reading.Figures ? BandText(reading.Band) : std::string();
  if (!watched_.empty() && watched_ != band) {
    // No longer watched: what was in alarm clears, with the figures last measured.
    changes = alarms_.Check(watched_, {}, watchedFigures_);
    alarms_.Forget(watched_);
  }
  watched_ = band;
  if (band.empty()) return changes;
  watchedFigures_ = {reading.Figures->ChannelPowerDb, reading.CN()};
  const std::vector<AlarmChange> now = alarms_.Check(band, limits, watchedFigures_);
  changes.insert(changes.end(), now.begin(), now.end());
  return changes;
}

void BandWatch::Forget() {
  if (!watched_.empty()) alarms_.Forget(watched_);
  watched_.clear();
  count_ = 0;
  key_ = {};
}

}  // namespace tavrix
