// Numbers as text, without regard to the locale.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "parameterutils.h"

namespace {

// The longest double, the longest fraction, a sign, a point and the end.
constexpr int kMaxIntegerDigits = 310;
constexpr int kMaxDecimals = 40;

struct Digits {
  char text[kMaxIntegerDigits + kMaxDecimals];
  int count = 0;         // all of them
  int integerCount = 0;  // those before the point
};

int NextDigit(double value) {
  return std::clamp(static_cast<int>(value), 0, 9);
}

void AppendInteger(double value, Digits& digits) {
  double power = 1.0;
  while (value / power >= 10.0) power *= 10.0;
  while (power >= 1.0) {
    const int digit = NextDigit(value / power);
    value -= digit * power;
    power /= 10.0;
    digits.text[digits.count++] = static_cast<char>('0' + digit);
  }
  digits.integerCount = digits.count;
}

// What is left behind the last digit, in units of that digit.
double AppendFraction(double fraction, int decimals, Digits& digits) {
  for (int i = 0; i < decimals; ++i) {
    fraction *= 10.0;
    const int digit = NextDigit(fraction);
    fraction -= digit;
    digits.text[digits.count++] = static_cast<char>('0' + digit);
  }
  return fraction;
}

void RoundUp(Digits& digits) {
  int i = digits.count - 1;
  for (; i >= 0 && digits.text[i] == '9'; --i) digits.text[i] = '0';
  if (i >= 0) {
    ++digits.text[i];
    return;
  }
  std::memmove(digits.text + 1, digits.text, static_cast<size_t>(digits.count));
  digits.text[0] = '1';
  ++digits.count;
  ++digits.integerCount;
}

Digits DigitsOf(double magnitude, int decimals) {
  Digits digits;
  const double integer = std::floor(magnitude);
  AppendInteger(integer, digits);
  if (AppendFraction(magnitude - integer, decimals, digits) >= 0.5) RoundUp(digits);
  while (digits.count > digits.integerCount && digits.text[digits.count - 1] == '0') --digits.count;
  return digits;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Digits and at most one point, at least one digit.
bool IsPlainNumber(const char* text) {
  int digits = 0;
  int points = 0;
  for (; *text != '\0'; ++text) {
    if (IsDigit(*text)) {
      ++digits;
    } else if (*text == '.') {
      ++points;
    } else {
      return false;
    }
  }
  return digits > 0 && points <= 1;
}

}  // namespace

namespace ParameterUtils {

double StringToDouble(const char* text, bool* success) {
  *success = false;
  if (text == nullptr) return 0.0;
  const bool negative = text[0] == '-';
  if (negative) ++text;
  if (!IsPlainNumber(text)) return 0.0;
  *success = true;
  double power = static_cast<double>(std::strcspn(text, "."));
  double sum = 0.0;
  for (; *text != '\0'; ++text) {
    if (*text == '.') continue;
    power -= 1.0;
    if (*text != '0') sum += (*text - '0') * std::pow(10.0, power);
  }
  return negative ? -sum : sum;
}

void DoubleToString(double value, char* buffer, uint32_t size, int decimals, bool* success) {
  *success = false;
  if (buffer == nullptr || size == 0) return;
  buffer[0] = '\0';
  if (!std::isfinite(value)) return;
  const Digits digits = DigitsOf(std::fabs(value), std::clamp(decimals, 0, kMaxDecimals - 1));

  uint32_t length = 0;
  const auto append = [&](char c) {
    if (length + 1 >= size) return false;
    buffer[length++] = c;
    return true;
  };
  bool fits = value >= 0.0 || append('-');
  for (int i = 0; i < digits.count && fits; ++i) {
    if (i == digits.integerCount) fits = append('.');
    fits = fits && append(digits.text[i]);
    *success = *success || (fits && i + 1 == digits.integerCount);
  }
  buffer[length] = '\0';
}

}  // namespace ParameterUtils
