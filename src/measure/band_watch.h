#pragma once
// One band watched over the captures, as the window's measurement panel shows it: the band
// between the two cursors, its figures on one trace with the noise of a noise band or else
// the automatic estimate, optionally averaged over the captures in linear power, and the
// changes of its alarm state against lower limits.
#include <optional>
#include <string>
#include <vector>

#include "measure/carrier_figures.h"
#include "measure/limit_alarms.h"
#include "view/cursor_mark.h"

namespace tavrix {

// The average's time constant, in captures: each new capture weighs 1 - e^(-1/10) (about a
// tenth) once ten are in, and 1/n while fewer are, so it starts as a plain mean. At one
// capture every 3 s the older captures fade by e every 30 s.
inline constexpr int kAverageCaptures = 10;

// The band between two cursors in MHz as the axis shows it, lower edge first, from their
// plot positions (the stored, scaled frequency); nothing unless both are placed.
std::optional<BandMHz> BandBetween(const CursorMark& one, const CursorMark& two, double freqScale);

// What is measured, as the window has it now.
struct WatchInput {
  const TraceSet* Traces = nullptr;
  int Trace = -1;  // the active trace; -1 when no trace is shown
  float FreqScale = 1.0f;
  BandMHz Shown;               // the band the capture shows
  std::optional<BandMHz> Band;  // nothing until both cursors are placed
};

// How it is measured: the panel's options.
struct WatchOptions {
  std::optional<BandMHz> Noise;  // the noise band; nothing for the estimate
  BandLimits Limits;
  bool Average = false;
};

// The figures of one reading, or why there are none.
struct BandReading {
  std::string Problem;  // empty when measured
  BandMHz Band;
  std::optional<CarrierFigures> Figures;
  std::optional<double> NoiseDensity;  // linear power per point; nothing when it cannot be had
  bool NoiseEstimated = false;         // from the trace outside the band, not a noise band
  std::string NoiseProblem;            // why the noise band was refused (the estimate stands in)
  int Averaged = 0;                    // captures in the figures' average; 0: the latest trace alone
  std::optional<CarrierToNoise> CN() const;
};

// A figure of a reading as the panel, a printed page and a saved picture name it.
struct FigureLine {
  std::string Name;
  std::string Value;
};
// Band, points, channel power, peak, centre, occupied bandwidth, noise density and C/N
// (said to be estimated when the noise is), and how many captures the average holds when
// there is one; the problem alone when nothing is measured.
std::vector<FigureLine> FigureLines(const BandReading& reading);

// The figures under their limits in a reading, e.g. "C/N 15.210 dB below 20.000 dB"; empty
// when none is.
std::vector<std::string> LimitBreaches(const BandReading& reading, const BandLimits& limits);

class BandWatch {
 public:
  // A capture has been processed: with the average on, it joins it. Another band, noise
  // band, trace or capture band starts the average again.
  void AddCapture(const WatchInput& in, const WatchOptions& options);
  // The figures as they stand: of the average when it is on and holds captures of this
  // band, else of the trace as shown.
  BandReading Read(const WatchInput& in, const WatchOptions& options) const;
  // Compares a capture's reading with the limits and returns the changes of alarm state. A
  // band that is no longer the one watched (the cursors moved, nothing measured) has its
  // alarms cleared first.
  std::vector<AlarmChange> CheckLimits(const BandReading& reading, const BandLimits& limits);
  // Back to no alarm and no average, without a change reported (another unit is watched).
  void Forget();

 private:
  // What the average belongs to: the same numbers mean the same band of the same trace.
  struct AverageKey {
    int Trace = -1;
    float First = 0, Last = 0, FreqScale = 0;  // the lowest and highest points' scaled frequencies
    BandMHz Band;
    std::optional<BandMHz> Noise;
    bool operator==(const AverageKey& o) const;
  };
  static AverageKey KeyOf(const WatchInput& in, const WatchOptions& options);
  // The latest trace's own noise density for the band.
  static std::optional<double> NoiseOf(const MeasuredTrace& trace, const WatchInput& in, const WatchOptions& options,
                                       std::string* problem);

  AverageKey key_;
  int count_ = 0;
  std::array<double, kPointCount> power_{};  // by point index, linear
  double noise_ = 0.0;
  bool noiseKnown_ = false;
  TraceSet averaged_;  // the average as a current trace, for the figures
  LimitAlarms alarms_;
  std::string watched_;  // the band whose alarms are kept, as BandText names it
  LimitedFigures watchedFigures_;  // and its figures at the latest capture
};

}  // namespace tavrix
