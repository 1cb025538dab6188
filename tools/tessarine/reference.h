// The reference of all fields, as Markdown.
#pragma once

#include <string>

namespace tessarine {

std::string Reference();

}  // namespace tessarine
