#pragma once
#include <string>
#include <string_view>

namespace tavrix {

// The leading number of a text as the boxes read it: optional blanks, sign, digits, one
// point, digits; whatever follows ("dB", " MHz", " KHz") ends it. No number reads as 0.
double LeadingNumber(std::string_view text);

// A box's text against its range: the number read and, when out of range, the message
// the "Status" panel shows.
struct EntryCheck {
  bool InRange = false;
  double Value = 0;
  std::string Message;  // empty when in range
};

// txtPoint: a point number, 1..2048.
EntryCheck CheckPointEntry(std::string_view text);

// txtFreq: lowMHz/highMHz are the lowest and highest frequency of the displayed data in
// MHz; the text may end in " KHz" (thousandths of a MHz) or " MHz", and Value is in MHz.
// freqFormat, a MHz picture ("##0.000MHz"...), formats the bounds in the message; a value
// that shows as a bound in it is taken as that bound.
EntryCheck CheckFrequencyEntry(std::string_view text, double lowMHz, double highMHz, const std::string& freqFormat);

// txtAmp and txtThreshold: -125..125 dB.
EntryCheck CheckAmplitudeEntry(std::string_view text);
EntryCheck CheckThresholdEntry(std::string_view text);

}  // namespace tavrix
