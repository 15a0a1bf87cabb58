#pragma once

#include <string>
#include <vector>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// A text with numbered markers "%1", "%2", … that arg() fills in, lowest open marker first.
///
/// Inserted text is never expanded again, whatever it holds. Every place of the lowest marker is
/// filled by one arg(). An arg() without an open marker changes nothing. A marker takes all digits
/// that follow ("%10" is marker ten); its number is at least 1 and starts with no 0. A percent sign
/// that begins no marker is ordinary text, so "100 %" needs no escape and "%%1" is a percent sign
/// and marker one.
class TESSARIL_PLATFORM_EXPORT ArgString {
 public:
  explicit ArgString(std::string text);

  ArgString& arg(const std::string& value);
  /// The text with what was filled in; markers that are still open stand as they are.
  std::string toString() const;
  operator std::string() const;  // NOLINT(google-explicit-constructor)

 private:
  /// A stretch of final text (marker 0), or an open marker with its number and as it was written.
  struct Piece {
    std::string text;
    int marker = 0;
  };
  std::vector<Piece> pieces;
};

/// Translates user-visible texts with the catalogues that the host has installed. A static service.
///
/// `context` is the name of the class whose text it is, `comment` a note for the translator,
/// `count` the number that selects a plural form (-1: none). Without a catalogue that knows the
/// text, the text itself is the answer. May be called on any thread, also while static objects are
/// built or destroyed.
class TESSARIL_PLATFORM_EXPORT Translator {
 public:
  Translator() = delete;

  static std::string translate(const std::string& context, const std::string& text,
                               const std::string& comment = {}, int count = -1);
};

/// The same for texts with markers.
class TESSARIL_PLATFORM_EXPORT TranslatorArg {
 public:
  TranslatorArg() = delete;

  static ArgString translate(const std::string& context, const std::string& text,
                             const std::string& comment = {}, int count = -1);
};

}  // namespace Tessaril
