// Numbers as text, the same under every locale.
#pragma once

#include <string>

namespace simcam {

// With exactly `digits` decimals; "-" for what is no number.
std::string Fixed(double value, int digits);
// The shortest text of a plot's tick or of a setting: 0.35, -20, 1500.
std::string Short(double value);
std::string EscapeHtml(const std::string& text);
// "data:<type>;base64,..."
std::string DataUri(const std::string& type, const std::string& bytes);

}  // namespace simcam
