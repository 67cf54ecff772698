#pragma once
// Carrier figures over a band of one trace: channel power, peak, centre, occupied
// bandwidth, noise density and C/N. Plain sums over the trace as it is shown; levels are
// uncalibrated dB, so channel power is relative while C/N means what it says.
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dsp/trace_set.h"

namespace tavrix {

// A frequency range in MHz as the plot's axis shows it, both edges included.
struct BandMHz {
  double Low = 0.0;
  double High = 0.0;
};

// One point of a trace: its number (1..2048), its frequency in MHz as the axis shows it
// (the stored, scaled frequency divided by the capture's frequency scale) and its level.
struct MeasuredPoint {
  int Point = 0;
  double FrequencyMHz = 0.0;
  double LevelDb = 0.0;
};

// One trace of a trace set as the measurements read it, without copying it: the set must
// outlive the view. The trace is laid out as the spectrum computation lays it out: points
// 1025..2048 and then 1..1024 rise in frequency (the lower half of the band follows the
// upper in point order), and so do the frequencies of the peak hold and of a trace never
// written (all 0). Walking up in frequency is walking that order, so a band's points are
// found by halving it.
class MeasuredTrace {
 public:
  MeasuredTrace(const TraceSet& traces, int trace, float freqScale);

  // The index in point order (0..2047) of the point `rank` places up in frequency.
  static int IndexAt(int rank) { return (rank + kPointCount / 2) & (kPointCount - 1); }
  MeasuredPoint At(int index) const { return {index + 1, FrequencyMHz(index), LevelDb(index)}; }
  double FrequencyMHz(int index) const { return ScaledFrequency(index) / scale_; }
  float ScaledFrequency(int index) const { return traces_->FreqPoints[static_cast<size_t>(index)].*member_; }
  float LevelDb(int index) const { return traces_->AmpPoints[static_cast<size_t>(index)].*member_; }
  double Scale() const { return scale_; }
  // The ranks [first, end) of the band's points.
  std::pair<int, int> RanksInBand(BandMHz band) const;

 private:
  const TraceSet* traces_;
  float TracePoint::*member_;
  double scale_;
};

// The band the capture shows, from its scaled edges.
BandMHz ShownBand(float freqLow, float freqHigh, float freqScale);

// The power of a level: 10^(L/10), in single precision (levels are singles; 1e-6 dB).
double LinearPower(float levelDb);
// 10 log10 of a linear power.
double PowerDb(double power);

struct CarrierFigures {
  int Points = 0;               // points in the band
  double PowerSum = 0.0;        // their linear powers summed
  double ChannelPowerDb = 0.0;  // 10 log10 of the sum
  MeasuredPoint Peak;           // the highest point; of equal levels the lowest in frequency
  double CentreMHz = 0.0;       // frequencies weighted by linear power
  // The 99 % occupied band: walking up in frequency, the first point whose running sum
  // reaches 0.5 % of the total, and the first whose running sum reaches 99.5 %.
  double OccupiedLowMHz = 0.0;
  double OccupiedHighMHz = 0.0;
  double OccupiedBandwidthMHz() const { return OccupiedHighMHz - OccupiedLowMHz; }
};

// The figures of the points whose frequency lies in the band; nothing when there is none.
std::optional<CarrierFigures> MeasureCarrier(const MeasuredTrace& trace, BandMHz band);

// The mean linear power of the points in the noise band: the noise density per point.
// Several stretches (either side of a carrier, where the floor slopes) count as one band
// holding the points of any of them. Nothing when they hold no point.
std::optional<double> MeanNoiseDensity(const MeasuredTrace& trace, const std::vector<BandMHz>& noise);

// The carrier's power above the noise it sits on, against that noise: C/N over the band.
struct CarrierToNoise {
  bool BelowNoise = false;  // the band holds no more power than its noise would
  double Db = 0.0;          // when not below noise
};
CarrierToNoise CarrierToNoiseOf(const CarrierFigures& carrier, double noiseDensity);

// An automatic noise density for a carrier when no noise band is marked, from the points
// outside the carrier's band; nothing when every point lies inside it. Meant for one
// capture's trace (current or previous): see the definition for why. It reads the whole
// trace, so it costs a few spectrum updates' worth of a measurement.
std::optional<double> EstimateNoiseDensity(const MeasuredTrace& trace, BandMHz carrier);

// Why a band cannot be measured on this trace, or an empty text. `what` names the band
// in the text ("band", "noise band"). A reversed band, one reaching outside the shown
// band, and one holding no point are refused.
std::string BandProblem(const MeasuredTrace& trace, BandMHz band, BandMHz shown, const std::string& what);

// "F1-F2" with six decimals: how a band is named in tables and logs.
std::string BandText(BandMHz band);

// The measurement table as CSV: the header line
// "Band,Points,ChannelPower,PeakFrequency,PeakLevel,CentreFrequency,OccupiedBandwidth,NoiseDensity,CN",
// then a line a band: frequencies in MHz with six decimals, levels in dB with three,
// the noise density as 10 log10 of it; NoiseDensity and CN empty without a noise density,
// CN "below noise" when the carrier is.
std::string MeasurementCsvHeader();
std::string MeasurementCsvLine(BandMHz band, const CarrierFigures& carrier, std::optional<double> noiseDensity);

}  // namespace tavrix
