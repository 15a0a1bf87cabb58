#include <gmock/gmock.h>

#include <algorithm>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"

namespace Tessaril {
namespace {

static_assert(!std::is_polymorphic_v<ApplyUpdateInfo>);
static_assert(std::is_nothrow_move_constructible_v<ApplyUpdateInfo>);
static_assert(std::is_nothrow_move_assignable_v<ApplyUpdateInfo>);

// A message with a text that can be changed; writes down what it is asked.
class TextMessage : public ApplyUpdateMessage {
 public:
  TextMessage(std::string messageText, std::string& messageLog)
      : text(std::move(messageText)), log(&messageLog) {}

  std::shared_ptr<ApplyUpdateMessage> clone() const override {
    *log += "clone " + text + " ";
    if (text == "unclonable") {
      throw std::runtime_error("no clone");
    }
    return std::make_shared<TextMessage>(*this);
  }
  bool isEmpty() const override {
    *log += text + "? ";
    return text.empty() || text.front() == '-';
  }
  bool isGlobal() const override { return false; }

  std::string text;

 private:
  std::string* log;
};

class ApplyUpdateInfoTest : public ::testing::Test {
 protected:
  using Messages = std::list<std::shared_ptr<ApplyUpdateMessage>>;

  /// Messages whose text begins with '-' are empty.
  std::shared_ptr<TextMessage> message(const std::string& text) {
    return std::make_shared<TextMessage>(text, log);
  }
  ApplyUpdateInfo info(const std::list<std::string>& texts) {
    Messages messages;
    for (const auto& text : texts) {
      messages.push_back(message(text));
    }
    return ApplyUpdateInfo(messages);
  }
  static std::string texts(ApplyUpdateInfo& info) {
    std::string result;
    for (const auto& held : info.getAllUpdateMessages()) {
      result += (result.empty() ? "" : " ") + dynamic_cast<const TextMessage&>(*held).text;
    }
    return result;
  }
  std::string takeLog() { return std::exchange(log, {}); }

  std::string log;
};

TEST_F(ApplyUpdateInfoTest, ANewInfoIsEmpty) {
  ApplyUpdateInfo empty;
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_TRUE(empty.getAllUpdateMessages().empty());
  auto cloned = empty.clone();
  EXPECT_TRUE(cloned.isEmpty());
  EXPECT_TRUE(cloned.getAllUpdateMessages().empty());
}

TEST_F(ApplyUpdateInfoTest, IsMadeFromMessagesInTheirOrderWithoutNullEntries) {
  ApplyUpdateInfo made(Messages{nullptr, message("a"), nullptr, message("b"), nullptr});
  EXPECT_EQ(texts(made), "a b");
  EXPECT_FALSE(made.isEmpty()) << "no null entry is asked";
}

TEST_F(ApplyUpdateInfoTest, MessagesAreSharedWithWhatIsReadOut) {
  const auto a = message("a");
  ApplyUpdateInfo source(Messages{a, message("b")});
  const auto all = source.getAllUpdateMessages();
  static_assert(
      std::is_same_v<decltype(all), const std::list<std::shared_ptr<const ApplyUpdateMessage>>>);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all.front(), a) << "the same object";
  EXPECT_EQ(a.use_count(), 3) << "here, in the info, in the list";
  EXPECT_EQ(texts(source), "a b") << "reading changes nothing";
  EXPECT_EQ(takeLog(), "");
}

TEST_F(ApplyUpdateInfoTest, CopiesShareTheirMessages) {
  const auto a = message("a");
  ApplyUpdateInfo source(Messages{a, message("b"), message("c")});
  ApplyUpdateInfo copied(source);
  ApplyUpdateInfo assigned = info({"x", "y"});
  assigned = source;
  a->text = "A";
  EXPECT_EQ(texts(source), "A b c");
  EXPECT_EQ(texts(copied), "A b c");
  EXPECT_EQ(texts(assigned), "A b c");
  EXPECT_EQ(takeLog(), "") << "nothing is cloned";
  source.clear();
  EXPECT_EQ(texts(copied), "A b c") << "but the lists are their own";
}

TEST_F(ApplyUpdateInfoTest, CopyAssignmentLetsGoOfTheOldMessages) {
  const auto old = message("old");
  ApplyUpdateInfo target(Messages{old});
  const auto source = info({"new"});
  target = source;
  EXPECT_EQ(old.use_count(), 1);
  EXPECT_EQ(texts(target), "new");
}

TEST_F(ApplyUpdateInfoTest, MovingLeavesTheSourceEmpty) {
  const auto a = message("a");
  ApplyUpdateInfo source(Messages{a, message("b")});
  ApplyUpdateInfo moved(std::move(source));
  EXPECT_EQ(texts(moved), "a b");
  EXPECT_EQ(texts(source), "");  // NOLINT(bugprone-use-after-move): promised to be empty
  EXPECT_TRUE(source.isEmpty());

  const auto old = message("old");
  ApplyUpdateInfo target(Messages{old});
  target = std::move(moved);
  EXPECT_EQ(texts(target), "a b");
  EXPECT_EQ(texts(moved), "");  // NOLINT(bugprone-use-after-move): promised to be empty
  EXPECT_EQ(old.use_count(), 1) << "not handed to the source";
  EXPECT_EQ(a.use_count(), 2) << "moved, not copied";
  EXPECT_EQ(takeLog(), "");
}

TEST_F(ApplyUpdateInfoTest, AssignmentToItselfChangesNothing) {
  auto target = info({"a", "b"});
  auto& itself = target;
  target = itself;
  EXPECT_EQ(texts(target), "a b");
  target = std::move(itself);
  EXPECT_EQ(texts(target), "a b");
}

TEST_F(ApplyUpdateInfoTest, AssignmentsAnswerTheInfoItself) {
  auto target = info({"a"});
  const auto source = info({"b"});
  EXPECT_EQ(&(target = source), &target);
  EXPECT_EQ(&(target = info({"c"})), &target);
}

TEST_F(ApplyUpdateInfoTest, ClearLetsGoOfAllMessages) {
  const auto a = message("a");
  ApplyUpdateInfo cleared(Messages{a, message("b")});
  cleared.clear();
  EXPECT_EQ(texts(cleared), "");
  EXPECT_TRUE(cleared.isEmpty());
  EXPECT_EQ(a.use_count(), 1);
  cleared.clear();
  EXPECT_TRUE(cleared.isEmpty());
}

TEST_F(ApplyUpdateInfoTest, TheEndOfAnInfoLetsGoOfItsMessages) {
  const auto a = message("a");
  { const ApplyUpdateInfo passing(Messages{a, a}); }
  EXPECT_EQ(a.use_count(), 1);
}

TEST_F(ApplyUpdateInfoTest, CloneMakesNewMessagesInTheSameOrder) {
  const auto a = message("a");
  ApplyUpdateInfo source(Messages{a, message("b"), message("c")});
  auto cloned = source.clone();
  EXPECT_EQ(takeLog(), "clone a clone b clone c ");
  EXPECT_EQ(texts(cloned), "a b c");
  EXPECT_EQ(a.use_count(), 2) << "not shared with the clone";
  a->text = "changed";
  EXPECT_EQ(texts(cloned), "a b c");
  EXPECT_EQ(texts(source), "changed b c");
  const auto originals = source.getAllUpdateMessages();
  for (const auto& held : cloned.getAllUpdateMessages()) {
    EXPECT_EQ(held.use_count(), 2) << "the info and this list";
    EXPECT_EQ(std::count(originals.begin(), originals.end(), held), 0);
  }
}

TEST_F(ApplyUpdateInfoTest, ChangingAMessageOfTheCloneLeavesTheSourceAlone) {
  auto source = info({"a"});
  auto cloned = source.clone();
  // The info hands its messages out as const; their owner may change them all the same.
  const auto held = cloned.getAllUpdateMessages().front();
  std::const_pointer_cast<TextMessage>(std::dynamic_pointer_cast<const TextMessage>(held))->text =
      "b";
  EXPECT_EQ(texts(cloned), "b");
  EXPECT_EQ(texts(source), "a");
}

TEST_F(ApplyUpdateInfoTest, ACloneThatThrowsLeavesTheInfoAsItWas) {
  const auto a = message("a");
  ApplyUpdateInfo source(Messages{a, message("unclonable"), message("c")});
  EXPECT_THROW(source.clone(), std::runtime_error);
  EXPECT_EQ(takeLog(), "clone a clone unclonable ");
  EXPECT_EQ(texts(source), "a unclonable c");
  EXPECT_EQ(a.use_count(), 2);
}

TEST_F(ApplyUpdateInfoTest, IsEmptyAsksInOrderUntilAMessageIsNotEmpty) {
  EXPECT_TRUE(info({"-", "-"}).isEmpty());
  EXPECT_EQ(takeLog(), "-? -? ");
  EXPECT_FALSE(info({"-", "a", "b"}).isEmpty());
  EXPECT_EQ(takeLog(), "-? a? ");
  EXPECT_FALSE(info({"a", "-"}).isEmpty());
  EXPECT_EQ(takeLog(), "a? ");
}

}  // namespace
}  // namespace Tessaril
