#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "reference_platform/Registration.h"
#include "tessaril/platform/Export.h"

namespace Tessaril::ReferencePlatform {

/// The translations into one language, which Translator uses once the catalogue is installed.
///
/// An entry made without a comment serves requests with any comment; one with a comment serves
/// requests with that comment only, and goes first there.
class TESSARIL_PLATFORM_EXPORT Catalogue {
 public:
  /// The index of the form that a count (0 or more) takes. Requires: does not throw.
  using PluralRule = std::function<std::size_t(int count)>;

  /// Without a rule, one is form 0 and every other count form 1, as in English.
  explicit Catalogue(PluralRule rule = {});

  /// Replaces what was there for the same context, text and comment.
  void add(const std::string& context, const std::string& text, std::string translation,
           const std::string& comment = {});
  /// For requests with a count: one translation for each plural form. A form that the rule asks for
  /// and that is missing counts as unknown.
  void addPlural(const std::string& context, const std::string& text,
                 std::vector<std::string> forms, const std::string& comment = {});

  /// The translation, or null when it is unknown. A request with a count that has no plural forms
  /// is answered as one without. Valid until the catalogue is changed.
  const std::string* find(const std::string& context, const std::string& text,
                          const std::string& comment, int count) const;

 private:
  struct Entry {
    const std::string* single() const { return hasTranslation ? &translation : nullptr; }

    bool hasTranslation = false;
    std::string translation;
    std::vector<std::string> forms;
  };
  /// Context, text, comment.
  using Key = std::tuple<std::string, std::string, std::string>;

  const std::string* findIn(const Entry& entry, int count) const;

  PluralRule pluralRule;
  std::map<Key, Entry> entries;
};

/// Translator asks the catalogues from the one installed last to the one installed first, until one
/// knows the text; until the registration ends. May be called at any time on any thread.
TESSARIL_PLATFORM_EXPORT Registration installCatalogue(Catalogue catalogue);

}  // namespace Tessaril::ReferencePlatform
