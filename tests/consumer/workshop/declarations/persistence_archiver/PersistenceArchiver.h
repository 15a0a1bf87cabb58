#pragma once

#include <cstddef>
#include <cstdint>
#include <ios>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/persistence_archiver/ArchiveException.h"
#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"
#include "tessaril/platform/persistence_archiver/Caster.h"

namespace Tessaril {

struct ArchivedClass {
  unsigned int typeId = BaseClassRegister::kNoType;
  std::string name;
  unsigned int version = BaseClassRegister::kNoVersion;

  friend bool operator==(const ArchivedClass&, const ArchivedClass&) = default;
};

/// An archive is the values, the names of their classes, how many bytes the values take, and a
/// check sum of all that.
class WORKSHOP_API PersistenceArchiver {
 public:
  static constexpr std::size_t kMaxDepth = 500;

  static BaseClassRegister* registerFactory(const std::string& name,
                                            const BaseClassRegister& record, unsigned int version);
  static const BaseClassRegister* findFactory(const std::string& name);
  static std::string getRegisteredName(unsigned int typeId);
  static unsigned int getHashForName(const std::string& name);
  static unsigned int getHashForType(unsigned int hash);
  static void registerHash(unsigned int hash, unsigned int typeId);
  static bool registerCaster(unsigned int derivedId, unsigned int baseId, Caster* caster);
  static unsigned int getCurrentVersion(unsigned int typeId);

  PersistenceArchiver() = default;
  explicit PersistenceArchiver(std::string archive);
  PersistenceArchiver(const PersistenceArchiver&) = delete;
  PersistenceArchiver& operator=(const PersistenceArchiver&) = delete;

  std::string finish();
  void requireEnd() const;
  const std::vector<ArchivedClass>& getClasses() const noexcept { return classes; }

  PersistenceArchiver& operator<<(const bool& value);
  PersistenceArchiver& operator<<(const unsigned int& value);
  PersistenceArchiver& operator<<(const std::uint64_t& value);
  PersistenceArchiver& operator<<(const double& value);
  PersistenceArchiver& operator<<(const std::string& value);
  PersistenceArchiver& operator>>(bool& value);
  PersistenceArchiver& operator>>(unsigned int& value);
  PersistenceArchiver& operator>>(std::uint64_t& value);
  PersistenceArchiver& operator>>(double& value);
  PersistenceArchiver& operator>>(std::string& value);
  template <typename T>
  PersistenceArchiver& operator<<(const T* value) = delete;

  template <typename Enumeration>
  void writeEnumeration(Enumeration value) {
    *this << static_cast<unsigned int>(value);
  }
  template <typename Enumeration>
  void readEnumeration(Enumeration& value) {
    unsigned int number = 0;
    *this >> number;
    value = static_cast<Enumeration>(number);
  }

  std::fpos<std::mbstate_t> tellp() const { return static_cast<std::streamoff>(at); }
  void mark_object_start(unsigned int start, unsigned int typeHash);
  void mark_object_end(unsigned int start, unsigned int end);
  void read_to_address_header(unsigned int& start, unsigned int& end);
  void end_read_to_address(unsigned int end);
  void check_container_size(unsigned int count) const;

  const BaseClassRegister* findClass(unsigned int typeHash) const;
  void addClass(unsigned int typeHash, const BaseClassRegister& descriptor);

  template <typename T>
  void writeShared(const std::shared_ptr<T>& object) {
    if (object == nullptr) {
      *this << 0U;
      return;
    }
    const BaseClassRegister expected = descriptorOf<std::remove_const_t<T>>();
    const void* whole = object.get();
    if constexpr (std::is_polymorphic_v<T>) {
      whole = dynamic_cast<const void*>(object.get());
    }
    const T& reached = *object;
    writeObject({object, whole}, expected.dynamicType(object.get()), expected.typeId,
                typeid(reached));
  }
  template <typename T>
  std::shared_ptr<T> readShared() {
    const std::shared_ptr<void> object = readObject(descriptorOf<T>().typeId);
    return {object, static_cast<T*>(object.get())};
  }

 private:
  enum class Mode { Writing, Written, Reading };
  struct ReadObject {
    unsigned int typeId = 0;
    std::shared_ptr<void> object;
  };

  template <typename T>
  static BaseClassRegister descriptorOf() {
    BaseClassRegister descriptor;
    T::serialization_register(&descriptor);
    return descriptor;
  }

  void writeObject(std::shared_ptr<const void> object, unsigned int typeId, unsigned int expectedId,
                   const std::type_info& type);
  std::shared_ptr<void> readObject(unsigned int expectedId);
  std::shared_ptr<void> readNewObject(unsigned int expectedId);
  std::vector<const Caster*> requireCasts(unsigned int typeId, unsigned int expectedId) const;
  std::shared_ptr<void> asBase(const ReadObject& found, unsigned int expectedId) const;
  void require(Mode needed) const;
  void write(std::uint64_t value, std::size_t size);
  std::uint64_t read(std::size_t size);
  void requireBytes(std::size_t size) const;
  void readClasses();
  std::size_t limit() const;
  [[noreturn]] void refuse(const std::string& why) const;

  Mode mode = Mode::Writing;
  std::string bytes;
  std::size_t at = 0;
  /// Reading: where the values end.
  std::size_t end = 0;
  /// Of the open blocks: writing where they start, reading where they end.
  std::vector<unsigned int> blocks;
  std::vector<ArchivedClass> classes;
  std::map<unsigned int, BaseClassRegister> known;
  /// Writing: the numbers of the objects by class and address, with a share of them.
  std::map<std::pair<unsigned int, const void*>, unsigned int> numbers;
  std::vector<std::shared_ptr<const void>> written;
  /// Reading: the objects in the order of their numbers.
  std::vector<ReadObject> objects;
};

}  // namespace Tessaril
