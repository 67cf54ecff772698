// The carrier figures on synthetic traces whose answers follow from the definitions by
// hand, the automatic noise estimate on noise of known density, and the peak table's
// level above the noise.
#include <QtTest>

#include <cmath>
#include <random>

#include "dsp/spectrum_update.h"
#include "measure/carrier_figures.h"
#include "measure/peak_table.h"
#include "test_support.h"

using namespace tavrix;

namespace {

constexpr double kStep = 1.0 / 128;  // MHz between the synthetic points: exact in single precision

double F(int slot) { return 100.0 + slot * kStep; }

// A current trace laid out as a spectrum is (points 1025..2048 below points 1..1024), the
// point `slot` places up in frequency at F(slot), at `floor` dB, with the given levels from
// slot `first` up.
struct Synthetic {
  TraceSet set;
  explicit Synthetic(double floor, int first = 0, std::initializer_list<double> levels = {}) {
    for (int slot = 0; slot < kPointCount; ++slot) {
      set.FreqPoints[static_cast<size_t>(MeasuredTrace::IndexAt(slot))].Current = static_cast<float>(F(slot));
      Level(slot) = static_cast<float>(floor);
    }
    for (const double level : levels) Level(first++) = static_cast<float>(level);
  }
  float& Level(int slot) { return set.AmpPoints[static_cast<size_t>(MeasuredTrace::IndexAt(slot))].Current; }
  MeasuredTrace Trace() const { return MeasuredTrace(set, kCurrentTrace, 1.0f); }
};

// The band from slot a to slot b of a synthetic trace, its edges halfway to the neighbours.
BandMHz Points(int a, int b) { return {F(a) - kStep / 2, F(b) + kStep / 2}; }

double Db(double ratio) { return 10.0 * std::log10(ratio); }

}  // namespace

class CarrierFiguresTest : public QObject {
  Q_OBJECT

 private slots:
  void definitionsOnKnownShapes() {
    // 10 points at 0 dB, 180 at 20 dB, 10 at 0 dB (slots 500..699), -30 dB around them.
    Synthetic shoulders(-30.0);
    for (int k = 500; k < 700; ++k) shoulders.Level(k) = k < 510 || k >= 690 ? 0.0f : 20.0f;
    const struct {
      const char* name;
      Synthetic trace;
      BandMHz band;
      int points;
      double powerDb, peakMHz, peakDb, centreMHz, lowMHz, highMHz;
    } rows[] = {
        // A flat band of N points at L reads L + 10 log10 N; of equal levels the peak is the
        // lowest; of 201 points the 0.5 % share is reached at the 2nd, 99.5 % at the 200th.
        {"flat 201 at 30 dB", Synthetic(30.0), Points(100, 300), 201, 30.0 + Db(201), F(100), 30.0, F(200), F(101),
         F(299)},
        {"flat single point", Synthetic(7.0), Points(42, 42), 1, 7.0, F(42), 7.0, F(42), F(42), F(42)},
        // A tone on a 0 dB floor: it holds the centre and both shares of the band.
        {"tone", Synthetic(0.0, 1000, {60.0}), Points(950, 1050), 101, Db(1e6 + 100), F(1000), 60.0, F(1000),
         F(1000), F(1000)},
        // The shares fall on the 11th point (10 + 100 >= 90.1) and the 190th (10 + 179 x 100 < 17929.9).
        {"shoulders", shoulders, Points(500, 699), 200, Db(18020), F(510), 20.0, (F(500) + F(699)) / 2, F(510),
         F(689)},
    };
    for (const auto& r : rows) {
      const std::optional<CarrierFigures> f = MeasureCarrier(r.trace.Trace(), r.band);
      QVERIFY2(f.has_value(), r.name);
      QVERIFY2(f->Points == r.points, r.name);
      const double got[] = {f->ChannelPowerDb, f->Peak.LevelDb, f->Peak.FrequencyMHz, f->CentreMHz, f->OccupiedLowMHz,
                            f->OccupiedHighMHz};
      const double want[] = {r.powerDb, r.peakDb, r.peakMHz, r.centreMHz, r.lowMHz, r.highMHz};
      for (int i = 0; i < 6; ++i)  // levels to 1e-4 dB (powers are singles), frequencies exact
        QVERIFY2(std::fabs(got[i] - want[i]) < (i < 2 ? 1e-4 : 1e-9),
                 qPrintable(QString("%1: figure %2 is %3, not %4").arg(r.name).arg(i).arg(got[i], 0, 'f', 9)
                                .arg(want[i], 0, 'f', 9)));
    }
  }

  // The trace's own order puts its upper half first; the band walks up in frequency
  // regardless, and of equal peaks the lowest frequency wins, not the first point.
  void bandsAcrossTheTracesWrapWalkUpInFrequency() {
    Synthetic t(0.0);
    t.set.AmpPoints[1].Current = 40.0f;     // point 2: slot 1025
    t.set.AmpPoints[2040].Current = 40.0f;  // point 2041: slot 1016, below point 2
    const std::optional<CarrierFigures> f = MeasureCarrier(t.Trace(), {F(1000), F(1040)});
    QVERIFY(f.has_value());
    QCOMPARE(f->Points, 41);  // both edges on a point, both inside
    QCOMPARE(f->Peak.Point, 2041);
    QCOMPARE(f->OccupiedLowMHz, F(1016));  // the walk meets 2041 first
    QCOMPARE(f->OccupiedHighMHz, F(1025));
  }

  void noiseAndCarrierToNoise() {
    // A 100-point band at L over noise at 20 dB: C/N = 10 log10(10^((L-20)/10) - 1).
    const struct { double level; bool below; double cn; } rows[] = {
        {30.0, false, Db(9.0)}, {20.0 + Db(2.0), false, 0.0}, {19.99, true, 0.0}, {15.0, true, 0.0}};
    for (const auto& r : rows) {
      Synthetic t(20.0);
      for (int k = 300; k < 400; ++k) t.Level(k) = static_cast<float>(r.level);
      const std::optional<double> n = MeanNoiseDensity(t.Trace(), {Points(0, 99)});
      QVERIFY(n.has_value());
      QVERIFY(std::fabs(*n / 100.0 - 1.0) < 1e-5);
      const CarrierToNoise cn = CarrierToNoiseOf(*MeasureCarrier(t.Trace(), Points(300, 399)), *n);
      QVERIFY2(cn.BelowNoise == r.below, qPrintable(QString::number(r.level)));
      if (!r.below) QVERIFY2(std::fabs(cn.Db - r.cn) < 1e-4, qPrintable(QString::number(cn.Db)));
    }
    // The noise density is a mean of power, not of dB: 0 and 20 dB average to 50.5, the
    // point that two stretches share counted once.
    const Synthetic mixed(0.0, 0, {20.0});
    QVERIFY(std::fabs(*MeanNoiseDensity(mixed.Trace(), {Points(0, 1), Points(0, 0)}) - 50.5) < 1e-4);
  }

  void refusedBands() {
    const Synthetic synthetic(0.0);  // points from 100 to 115.99 MHz
    const MeasuredTrace t = synthetic.Trace();
    const BandMHz shown{99.5, 121.0};
    const struct { BandMHz band; const char* says; } rows[] = {
        {{101.0, 100.0}, "reversed"},
        {{99.0, 100.5}, "outside"},
        {{115.0, 121.5}, "outside"},
        {{100.001, 100.007}, "no point"},  // between two points
        {{118.0, 121.0}, "no point"},      // shown, but beyond the last point
        {{99.5 - 4e-7, 100.0}, ""},        // within the printed edge's rounding
        {{F(2), F(2)}, ""},                // one point exactly
    };
    for (const auto& [band, says] : rows) {
      const std::string problem = BandProblem(t, band, shown, "band");
      QVERIFY2(*says ? problem.find(says) != std::string::npos : problem.empty(), problem.c_str());
      QCOMPARE(MeasureCarrier(t, band).has_value(), !*says || std::string(says) == "outside");
    }
    QVERIFY(!MeanNoiseDensity(t, {{100.001, 100.007}}).has_value());
  }

  // Exponential powers of known mean (the power of a point of noise), with carriers 20 dB
  // up over 45 % of the points outside the band, and the tone band itself excluded.
  void automaticNoiseOnSyntheticNoise() {
    for (const unsigned seed : {1u, 2u, 3u}) {
      std::mt19937 random(seed);
      std::exponential_distribution<double> power(1.0 / 1000.0);  // mean 1000: 30 dB
      Synthetic t(0.0);
      for (int k = 0; k < kPointCount; ++k) t.Level(k) = static_cast<float>(Db(power(random)));
      for (int k = 100; k < 1000; ++k) t.Level(k) += 20.0f;  // other carriers
      for (int k = 1500; k < 1600; ++k) t.Level(k) = 70.0f;  // the band measured
      const std::optional<double> n = EstimateNoiseDensity(t.Trace(), Points(1500, 1599));
      QVERIFY(n.has_value());
      QVERIFY2(std::fabs(Db(*n) - 30.0) < 1.0, qPrintable(QString::number(Db(*n))));
    }
    QVERIFY(!EstimateNoiseDensity(Synthetic(0.0).Trace(), Points(0, kPointCount)).has_value());
  }

  // Gaussian I/Q noise through the real update: the mean power of a bin is the windowed
  // samples' power summed (Parseval), which the update leaves in the sample arrays. With
  // nothing but noise the estimate holds to half a dB.
  void automaticNoiseOnACapturedTrace() {
    std::mt19937 random(7);
    std::normal_distribution<double> gauss(0.0, 4.0);
    SpectrumState state;
    for (size_t n = 0; n < state.Capture.SampleI.size(); ++n) {
      state.Capture.SampleI[n] = static_cast<float>(std::round(gauss(random)));
      state.Capture.SampleQ[n] = static_cast<float>(std::round(gauss(random)));
    }
    state.Capture.SampleRate = 62.5;
    state.Capture.CenterFreq = 70.0;
    VerticalWindow vertical;
    UpdateSpectrum(state, vertical, true);
    double density = 0.0;
    for (size_t n = 0; n < state.Capture.SampleI.size(); ++n)
      density += double(state.Capture.SampleI[n]) * state.Capture.SampleI[n] +
                 double(state.Capture.SampleQ[n]) * state.Capture.SampleQ[n];
    const std::optional<double> n = EstimateNoiseDensity(MeasuredTrace(state.Traces, kCurrentTrace, 1.0f), {75.0, 78.0});
    QVERIFY(n.has_value());
    QVERIFY2(std::fabs(Db(*n) - Db(density)) < 0.5, qPrintable(QString("%1 %2").arg(Db(*n)).arg(Db(density))));
  }

  void peakRowsGiveTheLevelAboveTheNoise() {
    TraceSet traces;
    for (int k = 0; k < kPointCount; ++k) traces.FreqPoints[static_cast<size_t>(k)].Current = 700.0f + k;
    traces.AmpPoints[9].Current = 50.0f;
    traces.AmpPoints[19].Current = 40.0f;
    const std::vector<PeakRow> rows = PeakRows(traces, kCurrentTrace, 30.0f, 10, 10.0f, 100.0);  // noise at 20 dB
    QCOMPARE(rows.size(), size_t(2));
    QCOMPARE(rows[0].Point, 10);
    QVERIFY(std::fabs(*rows[1].AboveNoiseDb - 20.0) < 1e-9);
    QCOMPARE(QString::fromStdString(PeakTableCsv(rows, "##0.0000MHz")),
             QString("Point,Frequency,Level,AboveNoise\n10,70.9000,50,30.000\n20,71.9000,40,20.000\n"));
  }
};

std::unique_ptr<QObject> NewCarrierFiguresTest() { return std::make_unique<CarrierFiguresTest>(); }

#include "test_carrier_figures.moc"
