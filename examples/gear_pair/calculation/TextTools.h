#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace GearPair {

/// The text without white space at both ends.
std::string_view trimmed(std::string_view text);

/// The text fit for one line of a message: long texts are cut, control characters become '?'.
std::string excerpt(std::string_view text);

/// The excerpt between single quotes.
std::string inQuotes(std::string_view text);

/// "a", "a and b", "a, b and c" with the last conjunction given.
std::string enumerated(const std::vector<std::string>& words, std::string_view conjunction);

/// The word that differs from the given one by the fewest inserted, deleted or replaced characters;
/// empty if all differ by more than a third of their length, at least two characters.
std::string nearestWord(std::string_view word, const std::vector<std::string>& words);

/// Shortest text from which the same number is read again.
std::string numberText(double value);

/// A number with a fixed number of decimals and a decimal point; never "-0.00".
std::string fixedText(double value, int decimals);

/// Number of characters of a UTF-8 text.
int characterCount(std::string_view utf8);

/// The text followed, or with rightAligned preceded, by spaces up to a number of characters.
std::string padded(std::string_view utf8, int width, bool rightAligned = false);

}  // namespace GearPair
