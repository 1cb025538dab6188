#include "common/nearest_name.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace tool {
namespace {

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

// Letters to add, leave out, replace, or swap with the next one.
size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) rows[i][0] = i;
  for (size_t j = 0; j <= b.size(); ++j) rows[0][j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1,
                             rows[i - 1][j - 1] + (a[i - 1] != b[j - 1] ? 1 : 0)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  }
  return rows[a.size()][b.size()];
}

// How far a name is from a word; nothing if it isn't near.
std::optional<size_t> Distance(const std::string& word, const std::string& name) {
  constexpr size_t kShortestPart = 2;
  const size_t distance = EditDistance(word, name);
  // More than half of the word wrong is no misspelling.
  if (distance <= word.size() / 2) return distance;
  const auto apart = std::mismatch(word.begin(), word.end(), name.begin(), name.end());
  const auto same = static_cast<size_t>(apart.first - word.begin());
  const bool beginsAlike = same >= kShortestPart && 2 * same >= word.size();
  const bool isPart = word.size() > kShortestPart && name.find(word) != std::string::npos;
  return beginsAlike || isPart ? std::optional(distance) : std::nullopt;
}

}  // namespace

std::string NearestName(std::string_view word, const std::vector<std::string>& names) {
  std::string nearest;
  std::optional<size_t> shortest;
  for (const std::string& name : names) {
    const std::optional<size_t> distance = Distance(LowerCase(word), LowerCase(name));
    if (!distance || (shortest && *distance >= *shortest)) continue;
    shortest = distance;
    nearest = name;
  }
  return nearest;
}

std::string DidYouMean(std::string_view word, const std::vector<std::string>& names) {
  const std::string nearest = NearestName(word, names);
  return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

}  // namespace tool
