#include "tessaril/platform/parameterization/Path.h"

#include <algorithm>
#include <utility>

#include "reference_platform/persistence_archiver/HostClass.h"

namespace Tessaril {
namespace {

constexpr char kSeparator = '/';

/// Whether it leads from one object to another.
bool isStep(std::string_view name) { return !name.empty() && name != "."; }

std::vector<std::string> splitNames(std::string_view text) {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(std::count(text.begin() + 1, text.end(), kSeparator)) + 1);
  while (!text.empty()) {
    const std::size_t length = std::min(text.find(kSeparator), text.size());
    if (const std::string_view name = text.substr(0, length); isStep(name)) {
      names.emplace_back(name);
    }
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return names;
}

}  // namespace

Path::Path() = default;

Path::Path(std::string_view text) {
  if (!text.empty()) {
    kind = text.front() == kSeparator ? Kind::Absolute : Kind::Relative;
    names = splitNames(text);
  }
}

Path::Path(Kind pathKind, std::vector<std::string> pathNames)
    : kind(pathKind), names(std::move(pathNames)) {
  std::erase_if(names, [](const std::string& name) { return !isStep(name); });
}

Path Path::absolute(std::vector<std::string> names) {
  return Path(Kind::Absolute, std::move(names));
}

Path Path::relative(std::vector<std::string> names) {
  return Path(Kind::Relative, std::move(names));
}

bool Path::isEmpty() const noexcept { return kind == Kind::Empty; }
bool Path::isAbsolute() const noexcept { return kind == Kind::Absolute; }
const std::vector<std::string>& Path::getNames() const noexcept { return names; }

std::string Path::toString() const {
  if (kind == Kind::Relative && names.empty()) {
    return ".";
  }
  std::size_t size = 1;
  for (const std::string& name : names) {
    size += name.size() + 1;
  }
  std::string text;
  text.reserve(size);
  if (kind == Kind::Absolute) {
    text += kSeparator;
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) {
      text += kSeparator;
    }
    text += names[i];
  }
  return text;
}

void Path::serialization_register(void* descriptor) {
  static const BaseClassRegister& record = ReferencePlatform::registerHostClass<Path>(
      "Path", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<Path*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const Path*>(source.object)->save(archiver, source.version);
      });
  *static_cast<BaseClassRegister*>(descriptor) = record;
}

void Path::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  archiver << toString();
}

void Path::load(PersistenceArchiver& archiver, unsigned int /*version*/) {
  std::string text;
  archiver >> text;
  *this = Path(text);
}

}  // namespace Tessaril
