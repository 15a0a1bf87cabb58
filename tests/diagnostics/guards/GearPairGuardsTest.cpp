#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "diagnostics/guards/GuardedUpdate.h"
#include "diagnostics/run/ObservedUpdate.h"
#include "examples/gear_pair/application/DesignSession.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/diagnostics/DocumentBlocks.h"
#include "tests/diagnostics/guards/DocumentedGuards.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

// The example application under guard, as it is: its modules know nothing of it.

namespace Tessaril::Diagnostics {
namespace {

using GearPair::DesignModule;
using GearPair::DesignSession;
using GearPair::UpdateDesignCmd;

class GearPairGuardsTest : public testing::Test {
 protected:
  GearPairGuardsTest() { guard->watchLinksOf(session.design()->start()); }

  std::shared_ptr<UpdateDesignCmd> makeUpdate() {
    auto update = makeGuardedUpdate<UpdateDesignCmd>(guard, session.design(),
                                                     session.design()->report(), nullptr);
    update->setThreadManager(threads);
    return update;
  }

  std::string texts;
  std::shared_ptr<GraphGuard> guard = std::make_shared<GraphGuard>(
      [this](const GuardViolation& violation) { texts += violation.text + "\n"; });
  std::shared_ptr<ThreadManager> threads =
      std::make_shared<ReferencePlatform::WorkerPoolThreadManager>(1);
  DesignSession session{GearPair::soundDesign(), threads};
};

TEST_F(GearPairGuardsTest, ADesignersDayBreaksNoRule) {
  session.run(makeUpdate());
  session.set("torque=300Nm");
  const auto update = makeUpdate();
  session.run(update);
  EXPECT_EQ(update->getEventText(), "strength:apply report:apply");
  session.undo();
  session.redo();
  session.set("pinion_teeth=23");
  session.run(makeUpdate());
  EXPECT_EQ(texts, "");
}

TEST_F(GearPairGuardsTest, AListenerThatHangsTheDrawingElsewhereIsReportedAsInTheDocument) {
  const auto update = makeUpdate();
  const auto& design = *session.design();
  const auto connection = update->connectToSigStepStarted(
      UpdateDesignCmd::StepSignal::SlotType([&](const DesignModule& module, bool) {
        if (&module == design.strength().get()) {
          ApplyGraph::moveStartOfSubChain(design.drawing(), design.mesh(), design.pinion());
        }
      }));
  session.run(update);
  EXPECT_THAT(texts, testing::HasSubstr("the links of /design/drawing were found edited"));
  EXPECT_EQ(TestSupport::blockOfDocument("no edit during a run"), texts);
}

TEST_F(GearPairGuardsTest, ASecondUpdateThatAListenerStartsIsNamed) {
  guard = std::make_shared<GraphGuard>(throwOnViolation());
  const auto update = makeUpdate();
  const auto second = makeUpdate();
  std::string thrown;
  const auto connection = update->connectToSigStepStarted(
      UpdateDesignCmd::StepSignal::SlotType([&](const DesignModule&, bool) {
        try {
          second->execute();
        } catch (const GuardError& error) {
          thrown = error.what();
        }
      }));
  session.run(update);
  EXPECT_THAT(thrown, testing::StartsWith("no start during a run: startExecution of the update "
                                          "\"Update Design up to: Report\" was called on thread 1 "
                                          "while the update \"Update Design up to: Report\""));
}

TEST(DocumentedGuardsTest, TheUseInTheDocumentIsCompiledAndRuns) {
  const std::string source = TestSupport::contentsOf(TESSARIL_DOCUMENTED_GUARDS);
  const std::string mark = "stands in docs/diagnostics.md.\n";
  EXPECT_EQ(TestSupport::blockOfDocument("#include \"diagnostics/guards/GuardedModule.h\"", "cpp"),
            source.substr(source.find(mark) + mark.size()));
  EXPECT_EQ(buildAndUpdate(std::make_shared<Object>("house"), nullptr), 2u);
  EXPECT_EQ(buildAndUpdate(std::make_shared<Object>("house"),
                           std::make_shared<GraphGuard>(throwOnViolation())),
            2u);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
