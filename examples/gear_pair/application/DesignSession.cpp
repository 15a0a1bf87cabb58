#include "examples/gear_pair/application/DesignSession.h"

#include <utility>

namespace GearPair {

namespace {

std::shared_ptr<Tessaril::Object> treeOf(const std::shared_ptr<GearPairDesign>& design) {
  auto root = std::make_shared<Tessaril::Object>("gear pair designer");
  root->addChild(design);
  return root;
}

}  // namespace

DesignSession::DesignSession(const DesignInput& input,
                             std::shared_ptr<Tessaril::ThreadManager> threads)
    : DesignSession(OpenedDesign{GearPairDesign::create(input), {}, {}}, std::move(threads)) {}

DesignSession::DesignSession(const OpenedDesign& opened,
                             std::shared_ptr<Tessaril::ThreadManager> threads)
    : threadManager(std::move(threads)),
      root(treeOf(opened.design)),
      gearPair(opened.design),
      designFile(opened.file) {}

std::vector<Tessaril::ArchivedClass> DesignSession::open(const std::filesystem::path& file) {
  OpenedDesign opened = openDesignFile(file);
  auto newRoot = treeOf(opened.design);
  history.clear();
  account.clear();
  root = std::move(newRoot);
  gearPair = std::move(opened.design);
  designFile = std::move(opened.file);
  return std::move(opened.classes);
}

const std::filesystem::path& DesignSession::getFile() const { return designFile; }

void DesignSession::save() const { saveDesignFile(designFile, gearPair); }

void DesignSession::saveAs(const std::filesystem::path& file) {
  saveDesignFile(file, gearPair);
  designFile = file;
}

const std::shared_ptr<GearPairDesign>& DesignSession::design() const { return gearPair; }

void DesignSession::set(const std::string& assignment) {
  execute(std::make_shared<SetValueCommand>(gearPair, assignment));
}

void DesignSession::setUnitSystem(UnitSystem units) {
  execute(std::make_shared<SetUnitSystemCommand>(gearPair, units));
}

void DesignSession::setFlag(const std::shared_ptr<DesignModule>& module, ModuleFlag flag,
                            bool value) {
  execute(std::make_shared<SetFlagCommand>(module, flag, value));
}

void DesignSession::execute(const std::shared_ptr<Tessaril::CommandBase>& command) {
  history.execute(command);
  account = accountOfChange(*command);
}

std::shared_ptr<UpdateDesignCmd> DesignSession::makeUpdate(const std::shared_ptr<DesignModule>& end,
                                                           bool withHorizon) const {
  const auto horizon = withHorizon ? gearPair->plan() : nullptr;
  auto update = std::make_shared<UpdateDesignCmd>(gearPair, end, horizon);
  update->setThreadManager(threadManager);
  return update;
}

void DesignSession::run(const std::shared_ptr<UpdateDesignCmd>& update) {
  execute(update);
  account = accountOfUpdate(*update);
}

std::shared_ptr<UpdateDesignCmd> DesignSession::update() {
  auto update = makeUpdate(gearPair->report(), false);
  run(update);
  return update;
}

bool DesignSession::canUndo() const { return history.canUndo(); }
bool DesignSession::canRedo() const { return history.canRedo(); }

std::string DesignSession::undo() {
  std::string description = history.getUndoDescription();
  const auto command = history.getUndoCommand();
  history.undo();
  account = accountOfUndo(*command);
  return description;
}

std::string DesignSession::redo() {
  std::string description = history.getRedoDescription();
  const auto command = history.getRedoCommand();
  history.redo();
  account = accountOfRedo(*command);
  return description;
}

std::string DesignSession::getLastDescription() const { return history.getUndoDescription(); }

const RunAccount& DesignSession::getAccount() const { return account; }

}  // namespace GearPair
