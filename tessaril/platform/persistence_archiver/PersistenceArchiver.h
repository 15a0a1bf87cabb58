#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ios>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/persistence_archiver/ArchiveException.h"
#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"
#include "tessaril/platform/persistence_archiver/Caster.h"

namespace Tessaril {

/// One class as an archive names it.
struct ArchivedClass {
  unsigned int typeId = BaseClassRegister::kNoType;
  std::string name;
  /// The version with which its objects were written.
  unsigned int version = BaseClassRegister::kNoVersion;

  friend bool operator==(const ArchivedClass&, const ArchivedClass&) = default;
};

/// Writes objects into an archive, or reads them from one; and knows, for the whole process, the
/// classes whose objects can be stored.
///
/// An archive is a sequence of values and *framed blocks*. A block holds one object, or one
/// container of objects: its frame says where it ends and of which class the contents are. Blocks
/// nest, at most kMaxDepth deep: a level for every shared object, and one for every part of it that
/// has a frame of its own. An archive carries a table of the classes whose blocks it holds, with
/// the versions that were written. A *type hash* is the type id of a class as it stands in a frame.
/// All of an archive is in memory; it is smaller than 4 GiB.
///
/// Reading checks every step against the end of the innermost open block: what is cut, damaged or
/// made up ends in an ArchiveException that names the byte, or in what load operations refuse,
/// never in a read beyond the archive, and never in memory that the archive's own bytes do not
/// account for. An archive in which something has thrown is of no further use: throw it away, and
/// what was read from it. Using an archive the wrong way round is a std::logic_error.
///
/// One thread at a time uses an archive. The registration may be used from all threads, and during
/// static initialisation of any library, in any order. Nothing is ever unregistered: a library that
/// has registered classes must stay loaded.
class TESSARIL_PLATFORM_EXPORT PersistenceArchiver {
 public:
  static constexpr std::size_t kMaxDepth = 500;
  /// The newest file format that can be read; the one that is written.
  static constexpr unsigned int kFormatVersion = 1;

  // Registration of classes

  /// Keeps a copy of the record under that name, with that version and a type id of its own, and
  /// returns it; valid for the rest of the process. The same name and version once more return what
  /// is kept already. Throws ArchiveException for another version of a name that is kept, and for a
  /// name that cannot be told from another one by its type id.
  static BaseClassRegister* registerFactory(const std::string& name,
                                            const BaseClassRegister& record, unsigned int version);
  /// The record that is kept under that name; null for none.
  static const BaseClassRegister* findFactory(const std::string& name);
  /// The name that a type id was registered under; empty for none.
  static std::string getRegisteredName(unsigned int typeId);
  /// The same for the same text in every process; never 0, never BaseClassRegister::kNoType.
  static unsigned int getHashForName(const std::string& name);
  /// The type id that was registered for the hash of a run-time type name;
  /// BaseClassRegister::kNoType for none.
  static unsigned int getHashForType(unsigned int hash);
  /// Makes the hash of a run-time type name lead to a type id. Throws ArchiveException when it
  /// leads to another one already, and when another hash leads to that one: of two run-time types
  /// under one name, each would be stored by the operations of the first.
  static void registerHash(unsigned int hash, unsigned int typeId);
  /// Makes known that one class derives from another. Takes the caster over in every case. False,
  /// and nothing is known, when the caster is null or the two are not two registered classes. True
  /// as well for a pair that is known already: the first caster stays.
  static bool registerCaster(unsigned int derivedId, unsigned int baseId, Caster* caster);
  /// The version that objects of the class are written with; for 0, as for every type id that is
  /// not registered, the version for classes that are registered without one of their own.
  static unsigned int getCurrentVersion(unsigned int typeId);

  // The archive as a whole

  /// An empty archive, to be written.
  PersistenceArchiver();
  /// An archive to be read, from the bytes that finish() gave. Throws ArchiveException for bytes
  /// that are no archive, are cut, damaged, or of a newer format.
  explicit PersistenceArchiver(std::string archive);
  PersistenceArchiver(const PersistenceArchiver&) = delete;
  PersistenceArchiver& operator=(const PersistenceArchiver&) = delete;
  ~PersistenceArchiver();

  /// Completes a written archive and returns its bytes, which are the same for the same contents.
  /// Nothing can be written afterwards. Requires: every block is closed.
  std::string finish();
  /// Throws ArchiveException unless everything has been read.
  void requireEnd() const;
  /// The classes that the archive names, in the order in which their first blocks were opened.
  const std::vector<ArchivedClass>& getClasses() const noexcept;

  // Values

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
  /// A pointer is no value; without this one it would be written as a bool.
  template <typename T>
  PersistenceArchiver& operator<<(const T* value) = delete;

  /// Enumerations are 32 bit values. What is read is not checked against the enumerators.
  template <typename Enumeration>
  void writeEnumeration(Enumeration value) {
    static_assert(std::is_enum_v<Enumeration>);
    *this << static_cast<unsigned int>(value);
  }
  template <typename Enumeration>
  void readEnumeration(Enumeration& value) {
    static_assert(std::is_enum_v<Enumeration>);
    unsigned int number = 0;
    *this >> number;
    value = static_cast<Enumeration>(number);
  }

  // Framed blocks

  /// Where the next value will be written or read: bytes from the beginning of the archive.
  std::fpos<std::mbstate_t> tellp() const;
  /// Opens a block. Requires: `start` is 4 bytes behind tellp(), so that the block's end can stand
  /// before it.
  void mark_object_start(unsigned int start, unsigned int typeHash);
  /// Closes the block that was opened at `start`. Requires: it is the innermost open block, and
  /// `end` is tellp().
  void mark_object_end(unsigned int start, unsigned int end);
  /// Opens the block that stands here, for reading: gives its start, which is where its type hash
  /// stands, the next value to be read; and the address of its end.
  void read_to_address_header(unsigned int& start, unsigned int& end);
  /// Closes the innermost block: goes on behind its end, whatever of it has been read. Requires:
  /// `end` is what read_to_address_header() gave for it.
  void end_read_to_address(unsigned int end);
  /// Throws ArchiveException for a number of elements that the rest of the innermost block cannot
  /// hold; an element takes a byte at least.
  void check_container_size(unsigned int count) const;

  // The classes of this archive

  /// The class of that type hash, with the version that this archive holds; null when the archive
  /// does not name it. Valid until the next addClass().
  const BaseClassRegister* findClass(unsigned int typeHash) const;
  /// Makes a class known that the archive does not name, for the rest of this reading; one that it
  /// names stays as it is. getClasses() does not change.
  void addClass(unsigned int typeHash, const BaseClassRegister& descriptor);

  // Shared objects. The first time an object is written with its run-time class; after that, and
  // for null, just as a number. The archive shares the ownership of its objects until it is
  // destroyed. An object can refer to one that is still being read: it gets it half filled. What a
  // reader leaves unread at the end of a block must hold no shared objects, because they are
  // counted as they are read. T is the class that the pointers have, with a static
  // serialization_register; when the run-time class is another one, casters have to lead from it to
  // T.

  /// Throws ArchiveException for an object whose run-time class is not registered, cannot be made,
  /// loaded and saved by its record, or has no casters to T: it could not be read again.
  template <typename T>
  void writeShared(const std::shared_ptr<T>& object) {
    const unsigned int expectedTypeId = typeIdOf<std::remove_const_t<T>>();
    if (object == nullptr) {
      writeNull();
      return;
    }
    const T& written = *object;
    const WrittenClass* known = findWrittenClass(typeid(written), expectedTypeId);
    if (known == nullptr) {
      known = &addWrittenClass(typeid(written), runTimeClass(written), expectedTypeId);
    }
    writeObject({object, mostDerived(&written)}, *known);
  }
  /// Throws ArchiveException for an object that is no T, before it is made, and for one of a class
  /// that is not known here. What constructors and load operations throw passes on.
  template <typename T>
  std::shared_ptr<T> readShared() {
    std::shared_ptr<void> object = readObject(typeIdOf<T>());
    T* const address = static_cast<T*>(object.get());
    return {std::move(object), address};
  }

 private:
  enum class Mode { Writing, Written, Reading };
  struct SharedObject {
    unsigned int typeId;
    PointerMapContainerBase* container;
  };
  /// A class whose objects have been written through pointers to one of its bases, or to itself:
  /// it can be read again that way.
  struct WrittenClass {
    const BaseClassRegister* record;
    PointerMapContainerBase* container;
  };
  /// A class whose objects have been read as objects of one of its bases, or as its own.
  struct ReadClass {
    /// With the version that was written.
    BaseClassRegister record;
    std::vector<const Caster*> casters;
    PointerMapContainerBase* container;
  };
  /// What an object is, and the type id of the class as which it is reached.
  template <typename Type>
  struct ReachedClass {
    Type type;
    unsigned int expectedTypeId;

    friend bool operator==(const ReachedClass&, const ReachedClass&) = default;
  };
  struct ReachedClassHash {
    template <typename Type>
    std::size_t operator()(const ReachedClass<Type>& reached) const {
      return std::hash<Type>()(reached.type) ^ reached.expectedTypeId;
    }
  };

  template <typename T>
  static unsigned int typeIdOf() {
    BaseClassRegister descriptor;
    T::serialization_register(&descriptor);
    return descriptor.typeId;
  }
  template <typename T>
  static const void* mostDerived(const T* object) {
    if constexpr (std::is_polymorphic_v<T>) {
      return dynamic_cast<const void*>(object);
    } else {
      return object;
    }
  }
  template <typename T>
  static unsigned int runTimeClass(const T& object) {
    BaseClassRegister descriptor;
    T::serialization_register(&descriptor);
    const unsigned int typeId = descriptor.dynamicType(&object);
    if (typeId == BaseClassRegister::kNoType) {
      refuseUnregistered(typeid(object));
    }
    return typeId;
  }
  [[noreturn]] static void refuseUnregistered(const std::type_info& type);

  void writeNull();
  const WrittenClass* findWrittenClass(const std::type_info& type,
                                       unsigned int expectedTypeId) const;
  const WrittenClass& addWrittenClass(const std::type_info& type, unsigned int typeId,
                                      unsigned int expectedTypeId);
  void writeObject(std::shared_ptr<const void> object, const WrittenClass& written);
  std::shared_ptr<void> readObject(unsigned int expectedTypeId);
  std::shared_ptr<void> readNewObject(unsigned int expectedTypeId);
  const ReadClass& readClass(unsigned int typeHash, unsigned int expectedTypeId,
                             unsigned int start);
  std::vector<const Caster*> requireCasters(unsigned int typeId, unsigned int expectedTypeId) const;
  PointerMapContainerBase& containerOf(const BaseClassRegister& record);

  void requireMode(Mode required) const;
  template <typename Number>
  PersistenceArchiver& writeNumber(Number value);
  template <typename Number>
  Number readNumber();
  /// Room for the next so many bytes, which are to be filled.
  char* roomFor(std::size_t size);
  void makeRoom(std::size_t size);
  /// The next so many bytes.
  const char* take(std::size_t size);
  [[noreturn]] void refuseToTake(std::size_t size) const;
  unsigned int position() const;
  std::size_t blockEnd() const;
  void openBlock(unsigned int address);
  void nameClass(unsigned int typeHash);
  void readHead();
  void readClassTable();
  BaseClassRegister classOfObject(unsigned int typeHash);
  const ArchivedClass* archivedClass(unsigned int typeHash) const;
  std::string archivedName(unsigned int typeHash) const;
  [[noreturn]] void refuse(const std::string& why) const;
  [[noreturn]] static void refuseAt(std::size_t place, const std::string& why);

  Mode mode = Mode::Writing;
  /// Writing: longer than what has been written.
  std::string bytes;
  /// The next byte to be written or read.
  std::size_t next = 0;
  /// Writing: the length of `bytes`. Reading: the end of the innermost open block.
  std::size_t limit = 0;
  /// Reading: where the values end.
  std::size_t bodyEnd = 0;
  /// Of the open blocks, innermost last; writing: their starts, reading: their ends.
  std::vector<unsigned int> openBlocks;
  std::vector<ArchivedClass> classes;
  std::unordered_map<unsigned int, BaseClassRegister> classTable;
  /// The shared objects; number 1 is the first.
  std::vector<SharedObject> objects;
  std::unordered_map<unsigned int, std::unique_ptr<PointerMapContainerBase>> containers;
  // What has been looked up in the registration, from which nothing is ever taken.
  std::unordered_map<ReachedClass<const std::type_info*>, WrittenClass, ReachedClassHash>
      writtenClasses;
  /// By the type id in the frame.
  std::unordered_map<ReachedClass<unsigned int>, ReadClass, ReachedClassHash> readClasses;
};

}  // namespace Tessaril
