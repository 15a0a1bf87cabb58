#include "tessaril/platform/identifiers/Identifier.h"

#include <array>
#include <bit>
#include <random>

#include "reference_platform/persistence_archiver/HostClass.h"

namespace Tessaril {
namespace {

constinit const Identifier kInvalidId;

constexpr std::string_view kTextLayout = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
constexpr std::size_t kDigitsPerHalf = 16;

std::mt19937_64 makeSeededEngine() {
  std::random_device device;
  std::array<std::random_device::result_type, 16> seeds{};
  for (auto& seed : seeds) {
    seed = device();
  }
  std::seed_seq sequence(seeds.begin(), seeds.end());
  return std::mt19937_64(sequence);
}

std::optional<std::uint64_t> digitValue(char digit) {
  if (digit >= '0' && digit <= '9') {
    return static_cast<std::uint64_t>(digit - '0');
  }
  if (digit >= 'a' && digit <= 'f') {
    return static_cast<std::uint64_t>(digit - 'a' + 10);
  }
  if (digit >= 'A' && digit <= 'F') {
    return static_cast<std::uint64_t>(digit - 'A' + 10);
  }
  return std::nullopt;
}

/// Spreads every bit of the value over the whole result.
std::uint64_t mixBits(std::uint64_t value) {
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
  return value ^ (value >> 31);
}

}  // namespace

const Identifier& Identifier::getInvalidId() noexcept { return kInvalidId; }

Identifier Identifier::createRandom() {
  thread_local std::mt19937_64 engine = makeSeededEngine();
  constexpr std::uint64_t kVersionMask = 0xF000;
  constexpr std::uint64_t kVersion = 0x4000;
  constexpr std::uint64_t kVariantMask = 0xC000'0000'0000'0000;
  constexpr std::uint64_t kVariant = 0x8000'0000'0000'0000;
  const std::uint64_t high = engine();
  const std::uint64_t low = engine();
  return {(high & ~kVersionMask) | kVersion, (low & ~kVariantMask) | kVariant};
}

std::optional<Identifier> Identifier::fromString(std::string_view text) {
  if (text.size() != kTextLayout.size()) {
    return std::nullopt;
  }
  std::array<std::uint64_t, 2> halves{};
  std::size_t digits = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (kTextLayout[at] == '-') {
      if (text[at] != '-') {
        return std::nullopt;
      }
      continue;
    }
    const auto value = digitValue(text[at]);
    if (!value) {
      return std::nullopt;
    }
    auto& half = halves[digits++ / kDigitsPerHalf];
    half = (half << 4) | *value;
  }
  return Identifier(halves[0], halves[1]);
}

std::string Identifier::toString() const {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text(kTextLayout);
  std::array<std::uint64_t, 2> halves{highHalf, lowHalf};
  std::size_t digits = 0;
  for (char& place : text) {
    if (place == '-') {
      continue;
    }
    auto& half = halves[digits++ / kDigitsPerHalf];
    half = std::rotl(half, 4);
    place = kDigits[half & 0xF];
  }
  return text;
}

std::size_t Identifier::hash() const noexcept {
  return static_cast<std::size_t>(mixBits(highHalf + 0x9E3779B97F4A7C15ULL + mixBits(lowHalf)));
}

void Identifier::serialization_register(void* descriptor) {
  static const BaseClassRegister& record = ReferencePlatform::registerHostClass<Identifier>(
      "Identifier", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        archiver >> *static_cast<Identifier*>(target.object);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        archiver << *static_cast<const Identifier*>(source.object);
      });
  *static_cast<BaseClassRegister*>(descriptor) = record;
}

PersistenceArchiver& operator<<(PersistenceArchiver& archiver, const Identifier& id) {
  return archiver << id.highHalf << id.lowHalf;
}

PersistenceArchiver& operator>>(PersistenceArchiver& archiver, Identifier& id) {
  return archiver >> id.highHalf >> id.lowHalf;
}

}  // namespace Tessaril
