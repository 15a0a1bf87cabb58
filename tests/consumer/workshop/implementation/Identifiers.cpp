#include <random>

#include "Registration.h"
#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::string_view kPattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

std::uint64_t randomHalf() {
  thread_local std::random_device device;
  return std::uint64_t{device()} << 32 | device();
}

}  // namespace

const Identifier& Identifier::getInvalidId() noexcept {
  static constexpr Identifier kInvalid;
  return kInvalid;
}

Identifier Identifier::createRandom() {
  constexpr std::uint64_t kVersionDigit = 0xF000;
  return {(randomHalf() & ~kVersionDigit) | 0x4000, randomHalf() >> 2 | std::uint64_t{1} << 63};
}

std::optional<Identifier> Identifier::fromString(std::string_view text) {
  if (text.size() != kPattern.size()) {
    return std::nullopt;
  }
  Identifier id;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char letter =
        text[i] >= 'A' && text[i] <= 'F' ? static_cast<char>(text[i] + 32) : text[i];
    const std::size_t digit = kDigits.find(letter);
    if ((kPattern[i] == '-') != (letter == '-') ||
        (letter != '-' && digit == std::string_view::npos)) {
      return std::nullopt;
    }
    if (letter != '-') {
      id.front = id.front << 4 | id.back >> 60;
      id.back = id.back << 4 | digit;
    }
  }
  return id;
}

std::string Identifier::toString() const {
  std::string text(kPattern);
  std::uint64_t high = front;
  std::uint64_t low = back;
  for (auto place = text.rbegin(); place != text.rend(); ++place) {
    if (*place != '-') {
      *place = kDigits[low & 0xF];
      low = low >> 4 | high << 60;
      high >>= 4;
    }
  }
  return text;
}

std::size_t Identifier::hash() const noexcept {
  const std::uint64_t mixed = (front ^ (back + 0x9E37'79B9'7F4A'7C15 + (front << 6)));
  return static_cast<std::size_t>(mixed * 0xFF51'AFD7'ED55'8CCD ^ front);
}

PersistenceArchiver& operator<<(PersistenceArchiver& archiver, const Identifier& id) {
  return archiver << id.front << id.back;
}

PersistenceArchiver& operator>>(PersistenceArchiver& archiver, Identifier& id) {
  return archiver >> id.front >> id.back;
}

void Identifier::serialization_register(void* descriptor) {
  Workshop::describe<Identifier>(
      descriptor, "Identifier", [] { return static_cast<void*>(new Identifier); },
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        archiver >> *static_cast<Identifier*>(target.object);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        archiver << *static_cast<const Identifier*>(source.object);
      });
}

}  // namespace Tessaril
