#pragma once

#include <memory>
#include <string>

#include "examples/gear_pair/calculation/Units.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/parameterization/Object.h"

namespace GearPair {

class ToothFormCache;
class ValueReader;
class ValueWriter;

/// What one apply of a step was computed from, and what came out. Both are immutable and shared, so
/// that worker threads may read them and commands may keep them at the price of two pointers. Which
/// types they have is the module's own affair; see StepModule. Default: never computed.
struct StepRecord {
  std::shared_ptr<const void> inputs;
  std::shared_ptr<const void> result;
};

/// One step of the gear design: a node of the apply graph and an object of the parameter tree.
///
/// The module answers the update's questions from one comparison: are its present inputs those that
/// its result was computed from? Nobody tells a module what has changed. A step on the main way (to
/// the report) gets a full apply; a step off that way is auto-applied.
///
/// Two flags follow from the records and are refreshed by every command that changes one:
/// - consistent: the result was computed from the present inputs;
/// - input ok: every previous module offers a usable result.
/// Frozen and skipped are the designer's: neither kind of module is applied; a frozen result goes
/// on serving those that follow, a skipped one does not.
class DesignModule : public Tessaril::Object, public Tessaril::ApplyModule {
 public:
  enum class Way { kMain, kSide };
  using Rate = Tessaril::LegacyProgress::Speed::Rate;

  /// `name` names the object, `title` the step as the designer reads it.
  DesignModule(std::string name, std::string title, Rate rate, Way way);
  ~DesignModule() override;

  const std::string& getTitle() const;

  const StepRecord& getRecord() const;
  /// Flags and followers are left to refreshFlags().
  void setRecord(StepRecord newRecord);
  bool hasResult() const;

  /// The present inputs; null while one of them is missing.
  virtual std::shared_ptr<const void> gatherInputs() const = 0;
  /// Computes a result from inputs of this module, on any thread, without touching the module.
  /// `cache` may be null. Throws DesignError, one sentence, when the design cannot be made.
  virtual StepRecord computeFrom(std::shared_ptr<const void> inputs,
                                 ToothFormCache* cache) const = 0;
  /// The inputs of the present result, but in that unit system; null where there is no result or
  /// the step writes no text.
  virtual std::shared_ptr<const void> inputsInUnits(UnitSystem units) const;

  /// Both leave flags and followers to others. Reading throws ArchiveException for what no such
  /// module can hold, and leaves the module as far as it was read then.
  virtual void saveRecord(ValueWriter& writer) const = 0;
  virtual void loadRecord(ValueReader& reader) = 0;

  /// True if the result was computed from the present inputs.
  virtual bool isUpToDate() const;
  /// True if those that follow can be computed from the result.
  bool offersUsableResult() const;
  /// True if an auto apply is to be made. A step on the main way is auto-applied only on the way to
  /// the horizon of an update, where it may not run alone.
  bool isAutoApplyDue(bool mayRunAlone) const;

  /// Computes the two dependent flags of this module and of all that follow.
  void refreshFlags();
  /// Tells the listeners of this module and of all that follow. On the thread of the design.
  void announce() const;

  // The questions of the update.
  bool isApplyNecessary(bool isEndModule) const override;
  bool isApplyPossible() const override;
  bool isAutoApplyNecessary() const override;
  bool isAutoApplyPossible() const override;
  /// True for a change of the unit system if the result is a text in another one.
  bool isUpdateInfoRelevant(const Tessaril::ApplyUpdateInfo& info) const override;
  /// False: where a step stays inconsistent, those behind it have nothing to be computed from.
  bool updateAlways() const override;
  Rate getSpeedRate() const override;
  bool computeIsInputOk() const override;

  /// Fills the class record of "GearPair.DesignModule" into the BaseClassRegister that `descriptor`
  /// points to: the module as an object and as a node of the graph, without what it has computed.
  static void serialization_register(void* descriptor);

 protected:
  virtual bool inputsAreEqual(const void* left, const void* right) const = 0;

 private:
  void refreshOwnFlags();
  void save(Tessaril::PersistenceArchiver& archiver) const;
  void load(Tessaril::PersistenceArchiver& archiver);

  std::string title;
  Rate rate;
  Way way;
  StepRecord record;
};

}  // namespace GearPair
