#include "reference_platform/translation/Catalogue.h"

#include <utility>

#include "reference_platform/translation/CatalogueRegistry.h"

namespace Tessaril::ReferencePlatform {

Catalogue::Catalogue(PluralRule rule) : pluralRule(std::move(rule)) {
  if (!pluralRule) {
    pluralRule = [](int count) -> std::size_t { return count == 1 ? 0 : 1; };
  }
}

void Catalogue::add(const std::string& context, const std::string& text, std::string translation,
                    const std::string& comment) {
  Entry& entry = entries[Key(context, text, comment)];
  entry.translation = std::move(translation);
  entry.hasTranslation = true;
}

void Catalogue::addPlural(const std::string& context, const std::string& text,
                          std::vector<std::string> forms, const std::string& comment) {
  entries[Key(context, text, comment)].forms = std::move(forms);
}

const std::string* Catalogue::find(const std::string& context, const std::string& text,
                                   const std::string& comment, int count) const {
  for (const std::string& served : {comment, std::string()}) {
    const auto entry = entries.find(Key(context, text, served));
    if (entry == entries.end()) {
      continue;
    }
    if (const std::string* found = findIn(entry->second, count)) {
      return found;
    }
  }
  return nullptr;
}

const std::string* Catalogue::findIn(const Entry& entry, int count) const {
  if (count < 0 || entry.forms.empty()) {
    return entry.single();
  }
  const std::size_t form = pluralRule(count);
  return form < entry.forms.size() ? &entry.forms[form] : nullptr;
}

CatalogueRegistry& CatalogueRegistry::get() {
  static auto* const registry = new CatalogueRegistry;
  return *registry;
}

Registration CatalogueRegistry::install(Catalogue catalogue) {
  const auto installed = std::make_shared<const Catalogue>(std::move(catalogue));
  Registration registration([this, installed] { remove(installed); });
  const std::lock_guard lock(mutex);
  auto extended = std::make_shared<Catalogues>(*catalogues);
  extended->push_back(installed);
  catalogues = std::move(extended);
  return registration;
}

std::string CatalogueRegistry::translate(const std::string& context, const std::string& text,
                                         const std::string& comment, int count) const {
  const auto installed = snapshot();
  for (auto catalogue = installed->rbegin(); catalogue != installed->rend(); ++catalogue) {
    if (const std::string* found = (*catalogue)->find(context, text, comment, count)) {
      return *found;
    }
  }
  return text;
}

void CatalogueRegistry::remove(const std::shared_ptr<const Catalogue>& catalogue) noexcept {
  const std::lock_guard lock(mutex);
  auto shortened = std::make_shared<Catalogues>(*catalogues);
  std::erase(*shortened, catalogue);
  catalogues = std::move(shortened);
}

std::shared_ptr<const CatalogueRegistry::Catalogues> CatalogueRegistry::snapshot() const noexcept {
  const std::lock_guard lock(mutex);
  return catalogues;
}

Registration installCatalogue(Catalogue catalogue) {
  return CatalogueRegistry::get().install(std::move(catalogue));
}

}  // namespace Tessaril::ReferencePlatform
