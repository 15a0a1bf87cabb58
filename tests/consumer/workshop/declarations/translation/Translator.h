#pragma once

#include <string>
#include <vector>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class WORKSHOP_API ArgString {
 public:
  explicit ArgString(const std::string& text);

  ArgString& arg(const std::string& value);
  std::string toString() const;
  operator std::string() const { return toString(); }  // NOLINT(google-explicit-constructor)

 private:
  struct Piece {
    std::string text;
    /// 0: final text.
    int marker = 0;
  };
  std::vector<Piece> pieces;
};

class WORKSHOP_API Translator {
 public:
  Translator() = delete;

  static std::string translate(const std::string& context, const std::string& text,
                               const std::string& comment = {}, int count = -1);
};

class WORKSHOP_API TranslatorArg {
 public:
  TranslatorArg() = delete;

  static ArgString translate(const std::string& context, const std::string& text,
                             const std::string& comment = {}, int count = -1) {
    return ArgString(Translator::translate(context, text, comment, count));
  }
};

}  // namespace Tessaril
