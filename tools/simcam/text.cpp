#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace simcam {

std::string Fixed(double value, int digits) {
  if (!std::isfinite(value)) return "-";
  char text[64];
  const auto end =
      std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, digits);
  std::string result = end.ec == std::errc() ? std::string(text, end.ptr) : "-";
  // A rounded -0.00 reads as a mistake.
  if (result.find_first_not_of("-0.") == std::string::npos && result[0] == '-') result.erase(0, 1);
  return result;
}

std::string Short(double value) {
  std::string text = Fixed(value, 6);
  if (text.find('.') == std::string::npos) return text;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string EscapeHtml(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    switch (c) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '"': escaped += "&quot;"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

std::string DataUri(const std::string& type, const std::string& bytes) {
  static const char* const kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string uri = "data:" + type + ";base64,";
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j)
      group = (group << 8) | (i + j < bytes.size() ? static_cast<uint8_t>(bytes[i + j]) : 0u);
    for (size_t j = 0; j < 4; ++j)
      uri += i + j <= bytes.size() ? kDigits[(group >> (18 - 6 * j)) & 63] : '=';
  }
  return uri;
}

}  // namespace simcam
