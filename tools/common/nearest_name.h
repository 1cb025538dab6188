// What a misspelt name was meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The name that is nearest to a word, whatever the case of their letters; "" if none is near. Near
// is what takes few letters to be added, left out, replaced or swapped, a name that contains the
// word, or one that begins as it does.
std::string NearestName(std::string_view word, const std::vector<std::string>& names);

// "; did you mean 'focus'?", or "" if no name is near.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& names);

}  // namespace tool
