#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "reference_platform/translation/Catalogue.h"

namespace Tessaril::ReferencePlatform {

/// The installed catalogues of the process.
class CatalogueRegistry {
 public:
  /// Never destroyed: destructors of static objects may translate.
  static CatalogueRegistry& get();

  Registration install(Catalogue catalogue);
  std::string translate(const std::string& context, const std::string& text,
                        const std::string& comment, int count) const;

 private:
  /// In the order of installation.
  using Catalogues = std::vector<std::shared_ptr<const Catalogue>>;

  void remove(const std::shared_ptr<const Catalogue>& catalogue) noexcept;
  std::shared_ptr<const Catalogues> snapshot() const noexcept;

  mutable std::mutex mutex;
  /// Replaced as a whole, so that translating holds no lock.
  std::shared_ptr<const Catalogues> catalogues = std::make_shared<const Catalogues>();
};

}  // namespace Tessaril::ReferencePlatform
