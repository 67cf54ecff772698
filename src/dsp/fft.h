#pragma once
#include "dsp/capture_block.h"

namespace tavrix {

// The unscaled forward complex DFT of 4096 points, X[k] = sum x[n] e^(-j 2 pi k n / N),
// in natural order (bin 0 is DC, 2048 the Nyquist bin). Computed in double precision
// through one FFTW plan made once per process and reused; thread safe.
void fft_float(const SampleArray& realIn, const SampleArray& imagIn, SampleArray& realOut,
               SampleArray& imagOut);

// The frequency of an index as a fraction of the sample rate: 0 when index >= n,
// index / n up to n / 2, -(n - index) / n above.
double Index_to_frequency(int numSamples, int index);

}  // namespace tavrix
