#include "bench/peers/OcctFunctions.h"

#include <Standard_GUID.hxx>
#include <TDF_Data.hxx>
#include <TDF_Label.hxx>
#include <TDF_LabelList.hxx>
#include <TFunction_Driver.hxx>
#include <TFunction_DriverTable.hxx>
#include <TFunction_GraphNode.hxx>
#include <TFunction_IFunction.hxx>
#include <TFunction_Iterator.hxx>
#include <TFunction_Logbook.hxx>
#include <vector>

namespace Tessaril::Bench {

namespace {

/// Tags of labels begin with 1.
class SummingDriver : public TFunction_Driver {
 public:
  Standard_Integer Execute(Handle(TFunction_Logbook) & /*log*/) const override {
    sum += static_cast<std::uint64_t>(Label().Tag());
    return 0;
  }

  mutable std::uint64_t sum = 0;
};

const Standard_GUID& driverId() {
  static const Standard_GUID id("6f4c1d6e-2a2b-4b7c-9d5e-0f1a2b3c4d5e");
  return id;
}

}  // namespace

struct OcctFunctions::Data {
  Handle(TDF_Data) document = new TDF_Data;
  Handle(SummingDriver) driver = new SummingDriver;
  std::vector<TDF_Label> labels;

  std::uint64_t execute(bool usesStatus) const {
    driver->sum = 0;
    TFunction_Iterator iterator;
    iterator.SetUsageOfExecutionStatus(usesStatus);
    iterator.Init(document->Root());
    for (; iterator.More(); iterator.Next()) {
      for (const TDF_Label& label : iterator.Current()) {
        const TFunction_IFunction function(label);
        const Handle(TFunction_Driver) found = function.GetDriver();
        found->Init(label);
        Handle(TFunction_Logbook) log = function.GetLogbook();
        found->Execute(log);
        if (usesStatus) {
          iterator.SetStatus(label, TFunction_ES_Succeeded);
        }
      }
    }
    return driver->sum;
  }
};

OcctFunctions::OcctFunctions(const Shape& shape) : data(std::make_unique<Data>()) {
  const Handle(TFunction_DriverTable) drivers = TFunction_DriverTable::Get();
  drivers->RemoveDriver(driverId());
  drivers->AddDriver(driverId(), data->driver);
  for (Number number = 0; number < shape.modules; ++number) {
    data->labels.push_back(data->document->Root().FindChild(static_cast<int>(number) + 1));
    TFunction_IFunction::NewFunction(data->labels.back(), driverId());
  }
  for (const auto& [from, to] : shape.links) {
    TFunction_IFunction(data->labels[from]).GetGraphNode()->AddNext(data->labels[to]);
    TFunction_IFunction(data->labels[to]).GetGraphNode()->AddPrevious(data->labels[from]);
  }
  resetStatus();
}

OcctFunctions::~OcctFunctions() = default;

std::uint64_t OcctFunctions::execute() const { return data->execute(false); }

std::uint64_t OcctFunctions::executeWithStatus() const { return data->execute(true); }

void OcctFunctions::resetStatus() const {
  for (const TDF_Label& label : data->labels) {
    TFunction_IFunction(label).SetStatus(TFunction_ES_NotExecuted);
  }
}

}  // namespace Tessaril::Bench
