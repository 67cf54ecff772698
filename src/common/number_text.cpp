#include "common/number_text.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace tavrix {

namespace {

constexpr int kDigits = 7;
constexpr uint32_t kLowest7 = 1000000;    // 10^(kDigits - 1)
constexpr uint32_t kAbove7 = 10000000;    // 10^kDigits
constexpr int kMaxPow10 = 19;             // 10^19 < 2^64

constexpr uint64_t Pow10(int n) {
  uint64_t p = 1;
  for (int i = 0; i < n; ++i) p *= 10;
  return p;
}

struct Pow10Table {
  uint64_t value[kMaxPow10 + 1];
  constexpr Pow10Table() : value() {
    for (int i = 0; i <= kMaxPow10; ++i) value[i] = Pow10(i);
  }
};
constexpr Pow10Table kPow10;

// The value M x 2^E scaled by 10^k, split into its integer part and a rounding
// decision (round half to even on the exact value, as printf does). Returns false
// when the exact arithmetic would not fit in 64 bits.
bool ScaledDigits(uint32_t mantissa, int binaryExp, int k, uint64_t& quotient, bool& roundUp) {
  // Most values the instrument writes (levels, frequencies, samples) take this path:
  // M x 10^k fits in 64 bits and the denominator is a power of two.
  if (k >= 0 && k <= 12 && binaryExp <= 0 && binaryExp > -64) {
    const uint64_t num = mantissa * static_cast<uint64_t>(kPow10.value[k]);
    const int shift = -binaryExp;
    if (shift == 0) {
      quotient = num;
      roundUp = false;
      return true;
    }
    const uint64_t r = num & ((uint64_t(1) << shift) - 1);
    const uint64_t half = uint64_t(1) << (shift - 1);
    quotient = num >> shift;
    roundUp = r > half || (r == half && (quotient & 1));
    return true;
  }
  // Values of ten million and more: M x 2^E divided by a power of ten, in 64 bits while
  // the numerator fits (up to about 5.7e18).
  if (k < 0 && -k <= 19 && binaryExp >= 0 && binaryExp <= 39) {
    const uint64_t num = static_cast<uint64_t>(mantissa) << binaryExp;
    const uint64_t den = static_cast<uint64_t>(kPow10.value[-k]);
    quotient = num / den;
    const uint64_t r = num % den;
    const uint64_t half = den >> 1;  // den is even here, so half is exact
    roundUp = r > half || (r == half && (quotient & 1));
    return true;
  }
  // The rest (the tiniest and the largest magnitudes) is rare in what the instrument
  // writes; the caller takes the standard library's exact conversion for it.
  return false;
}

// floor(log10(|value|)), from the binary exponent and one comparison with a power of
// ten; still one off at worst (powers of ten are not all exact), which the exact digits
// correct.
int EstimateDecimalExponent(int binaryExp2, double magnitude) {
  static const struct Powers {
    double value[90];  // 10^(i - 45)
    Powers() {
      for (int i = 0; i < 90; ++i) value[i] = std::pow(10.0, i - 45);
    }
  } powers;
  int exp10 = (binaryExp2 * 78913) >> 18;  // 78913 / 2^18 ~ log10(2): floor or one below
  const int next = exp10 + 1 + 45;
  if (next >= 0 && next < 90 && magnitude >= powers.value[next]) ++exp10;
  return exp10;
}

char* AppendExponent(char* out, int exp10) {
  *out++ = 'E';
  *out++ = exp10 < 0 ? '-' : '+';
  unsigned e = static_cast<unsigned>(exp10 < 0 ? -exp10 : exp10);
  if (e >= 100) *out++ = static_cast<char>('0' + e / 100);
  *out++ = static_cast<char>('0' + (e / 10) % 10);
  *out++ = static_cast<char>('0' + e % 10);
  return out;
}

// Copies a run of digits with one fixed-size move; the bytes past `count` are scratch
// that the caller's room allows and the following text overwrites.
char* PutDigits(char* out, const char* digits, int count) {
  std::memcpy(out, digits, 8);
  return out + count;
}

// Lays out seven significant digits with decimal exponent exp10 as %G does. Writes up to
// seven scratch bytes past the text, within kMaxNumberText.
char* LayOut(char* out, uint32_t digits7, int exp10) {
  static constexpr char kPairs[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  char d[16] = {};
  for (int i = kDigits - 1; i > 0; i -= 2) {
    std::memcpy(d + i - 1, kPairs + 2 * (digits7 % 100), 2);
    digits7 /= 100;
  }
  d[0] = static_cast<char>('0' + digits7);
  int significant = kDigits;
  while (significant > 1 && d[significant - 1] == '0') --significant;

  if (exp10 < -4 || exp10 >= kDigits) {
    *out++ = d[0];
    if (significant > 1) {
      *out++ = '.';
      out = PutDigits(out, d + 1, significant - 1);
    }
    return AppendExponent(out, exp10);
  }
  if (exp10 >= 0) {
    out = PutDigits(out, d, exp10 + 1);
    if (significant > exp10 + 1) {
      *out++ = '.';
      out = PutDigits(out, d + exp10 + 1, significant - exp10 - 1);
    }
    return out;
  }
  std::memcpy(out, "0.0000", 6);
  out += 1 - exp10;  // "0." and -exp10 - 1 zeros
  return PutDigits(out, d, significant);
}

// The general path for magnitudes the exact 64-bit arithmetic does not cover
// (sub-normal and the very largest values): the standard library's shortest-exact
// conversion at 7 significant digits, with the exponent letter in capitals.
char* AppendByStandardLibrary(char* out, float value) {
  char buf[kMaxNumberText + 8];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<double>(value),
                                 std::chars_format::general, kDigits);
  if (ec != std::errc()) return out;
  for (char* p = buf; p != end; ++p) *out++ = (*p == 'e') ? 'E' : *p;
  return out;
}

}  // namespace

char* AppendInteger(char* out, int value) {
  uint32_t magnitude = value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
  if (value < 0) *out++ = '-';
  char buf[10];
  int n = 0;
  do {
    buf[n++] = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  while (n > 0) *out++ = buf[--n];
  return out;
}

char* AppendNumberText(char* out, float value) {
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const bool negative = (bits >> 31) != 0;
  const uint32_t biased = (bits >> 23) & 0xFF;
  const uint32_t fraction = bits & 0x7FFFFF;

  if (biased == 0xFF) {
    if (negative) *out++ = '-';
    const char* word = fraction != 0 ? "NAN" : "INF";
    std::memcpy(out, word, 3);
    return out + 3;
  }
  if (biased == 0 && fraction == 0) {
    *out++ = '0';
    return out;
  }
  const uint32_t mantissa = biased == 0 ? fraction : (fraction | 0x800000);
  const int binaryExp = biased == 0 ? -149 : static_cast<int>(biased) - 150;

  // Binary exponent of the leading bit: value lies in [2^e2, 2^(e2+1)).
  const int e2 = biased == 0 ? (binaryExp + 31 - std::countl_zero(mantissa)) : static_cast<int>(biased) - 127;
  int exp10 = EstimateDecimalExponent(e2, std::fabs(static_cast<double>(value)));
  // The estimate can be one off next to a power of ten; the exact digits correct it.
  for (int attempt = 0; attempt < 3; ++attempt) {
    uint64_t q;
    bool roundUp;
    if (!ScaledDigits(mantissa, binaryExp, kDigits - 1 - exp10, q, roundUp)) break;
    if (q >= kAbove7) {
      ++exp10;
      continue;
    }
    if (q < kLowest7) {
      --exp10;
      continue;
    }
    if (roundUp && ++q == kAbove7) {
      q = kLowest7;
      ++exp10;
    }
    if (negative) *out++ = '-';
    return LayOut(out, static_cast<uint32_t>(q), exp10);
  }
  return AppendByStandardLibrary(out, value);
}

std::string NumberText(float value) {
  char buf[kMaxNumberText];
  return std::string(buf, AppendNumberText(buf, value));
}

}  // namespace tavrix
