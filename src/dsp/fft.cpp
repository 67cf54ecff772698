#include "dsp/fft.h"

#include <fftw3.h>

#include <mutex>

namespace tavrix {

namespace {

// One plan for the process. FFTW_ESTIMATE keeps the plan, and so every result,
// the same from run to run; buffers are per call, so execution is thread safe.
class Plan {
 public:
  static const Plan& Get() {
    static const Plan plan;
    return plan;
  }
  void Execute(fftw_complex* in, fftw_complex* out) const { fftw_execute_dft(plan_, in, out); }

 private:
  Plan() {
    fftw_complex* in = fftw_alloc_complex(kSampleCount);
    fftw_complex* out = fftw_alloc_complex(kSampleCount);
    plan_ = fftw_plan_dft_1d(kSampleCount, in, out, FFTW_FORWARD, FFTW_ESTIMATE);
    fftw_free(in);
    fftw_free(out);
  }
  fftw_plan plan_;
};

struct Buffers {
  fftw_complex* in = fftw_alloc_complex(kSampleCount);
  fftw_complex* out = fftw_alloc_complex(kSampleCount);
  ~Buffers() {
    fftw_free(in);
    fftw_free(out);
  }
};

}  // namespace

void fft_float(const SampleArray& realIn, const SampleArray& imagIn, SampleArray& realOut,
               SampleArray& imagOut) {
  const Plan& plan = Plan::Get();
  // fftw_alloc gives the alignment the plan was made for; one pair per thread.
  thread_local Buffers buffers;
  for (int n = 0; n < kSampleCount; ++n) {
    buffers.in[n][0] = realIn[n];
    buffers.in[n][1] = imagIn[n];
  }
  plan.Execute(buffers.in, buffers.out);
  for (int k = 0; k < kSampleCount; ++k) {
    realOut[k] = static_cast<float>(buffers.out[k][0]);
    imagOut[k] = static_cast<float>(buffers.out[k][1]);
  }
}

double Index_to_frequency(int numSamples, int index) {
  if (index >= numSamples) return 0.0;
  if (index <= numSamples / 2) return static_cast<double>(index) / numSamples;
  return -static_cast<double>(numSamples - index) / numSamples;
}

}  // namespace tavrix
