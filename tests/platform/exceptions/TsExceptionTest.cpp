#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {
namespace {

const std::string kLongMessage = "a message that is too long to be kept inside a string object";

TEST(TsExceptionTest, CarriesItsMessage) {
  const TsException exception(kLongMessage);
  EXPECT_EQ(exception.getMessage(), kLongMessage);
  EXPECT_STREQ(exception.what(), kLongMessage.c_str());
}

TEST(TsExceptionTest, TheMessageMayBeEmpty) {
  const TsException exception("");
  EXPECT_EQ(exception.getMessage(), "");
  EXPECT_STREQ(exception.what(), "");
}

TEST(TsExceptionTest, CarriesThePlaceOfTheThrow) {
  const std::source_location before = std::source_location::current();
  const TsException exception("message");
  const std::source_location& thrown = exception.getSourceLocation();
  EXPECT_EQ(thrown.line(), before.line() + 1);
  EXPECT_STREQ(thrown.file_name(), before.file_name());
  EXPECT_STREQ(thrown.function_name(), before.function_name());
}

TEST(TsExceptionTest, CarriesThePlaceItIsGiven) {
  const std::source_location place = std::source_location::current();
  const TsException exception("message", place);
  EXPECT_EQ(exception.getSourceLocation().line(), place.line());
  EXPECT_EQ(exception.getSourceLocation().column(), place.column());
}

TEST(TsExceptionTest, CopyingDoesNotThrow) {
  EXPECT_TRUE(std::is_nothrow_copy_constructible_v<TsException>);
  EXPECT_TRUE(std::is_nothrow_copy_assignable_v<TsException>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<TsException>);
}

TEST(TsExceptionTest, ACopyOutlivesTheOriginal) {
  auto original = std::make_unique<TsException>(kLongMessage);
  const auto line = original->getSourceLocation().line();
  const TsException copy(*original);
  original.reset();
  EXPECT_EQ(copy.getMessage(), kLongMessage);
  EXPECT_STREQ(copy.what(), kLongMessage.c_str());
  EXPECT_EQ(copy.getSourceLocation().line(), line);
}

TEST(TsExceptionTest, AssignmentTakesMessageAndPlace) {
  TsException target("old");
  const TsException source(kLongMessage);
  target = source;
  EXPECT_EQ(target.getMessage(), kLongMessage);
  EXPECT_EQ(target.getSourceLocation().line(), source.getSourceLocation().line());
}

TEST(TsExceptionTest, KeepsItsMessageWhenItIsMovedFrom) {
  TsException source(kLongMessage);
  const TsException target(std::move(source));
  EXPECT_EQ(target.getMessage(), kLongMessage);
  EXPECT_EQ(source.getMessage(), kLongMessage);  // NOLINT(bugprone-use-after-move)
}

TEST(TsExceptionTest, IsCaughtAsAStandardException) {
  try {
    throw TsException("message");
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "message");
  }
}

TEST(TsExceptionTest, SurvivesBeingKeptAndThrownAgain) {
  std::exception_ptr kept;
  try {
    throw TsException(kLongMessage);
  } catch (...) {
    kept = std::current_exception();
  }
  try {
    std::rethrow_exception(kept);
  } catch (const TsException& caught) {
    EXPECT_EQ(caught.getMessage(), kLongMessage);
  }
}

}  // namespace
}  // namespace Tessaril
