#include "component/trap.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>

#include "component/error_codes.h"
#include "support/test_support.h"

namespace musedata {
namespace {

TEST(Trap, OwnErrorPassesThroughUnchangedAndIsRecorded) {
  CaughtError caught;
  EXPECT_EQ(test::ErrorOf([&] {
              Trap(kLoad, &caught, [] {
                Trap(kParseEnd, nullptr,
                     [] { RaiseConverterError(kErrUnknownEndRecord, "inner report"); });
              });
            }),
            "6027 Verdantix: inner report");
  EXPECT_EQ(caught.number, kErrorBase + 6027);
  EXPECT_EQ(caught.source, "Verdantix");
  EXPECT_EQ(caught.description, "inner report");
}

TEST(Trap, OtherErrorsAreWrappedWithTheProcedureNumberAndName) {
  const std::string invalidCall = " error 5: Invalid procedure call or argument";
  const std::vector<std::tuple<Procedure, std::function<void()>, std::string>> rows = {
      {kParseBarLine, [] { throw RunTimeError::SubscriptOutOfRange(); },
       "6021 Verdantix: MuseData ParseBarLine error 9: Subscript out of range"},
      // Library exceptions take the run-time numbers.
      {kParseNoteRecord, [] { (void)std::vector<int>().at(3); },
       "6035 Verdantix: MuseData ParseNoteRecord error 9: Subscript out of range"},
      {kAddText, [] { throw std::bad_alloc(); },
       "6014 Verdantix: MuseData AddText error 7: Out of memory"},
      {kReset, [] { throw std::overflow_error("x"); },
       "6051 Verdantix: MuseData Reset error 6: Overflow"},
      {kSaveData,
       [] {
         throw std::filesystem::filesystem_error("x", std::make_error_code(std::errc::io_error));
       },
       "6054 Verdantix: MuseData SaveData error 75: Path/File access error"},
      {kParseAttributes, [] { throw std::runtime_error("x"); },
       "6019 Verdantix: MuseData ParseAttributes" + invalidCall},
      {kCleanseComment, [] { throw 3; }, "6047 Verdantix: CleanseComment" + invalidCall},
  };
  for (const auto& [procedure, body, expected] : rows) {
    SCOPED_TRACE(procedure.name);
    CaughtError caught;
    EXPECT_EQ(test::ErrorOf([&] { Trap(procedure, &caught, body); }), expected);
    // The caught-error record keeps what the trap caught, not what it raised.
    EXPECT_NE(caught.number - kErrorBase, procedure.number);
    EXPECT_FALSE(caught.description.empty());
    EXPECT_EQ(expected.substr(expected.size() - caught.description.size()), caught.description);
  }
}

TEST(Trap, ToLongReadsWholeNumbersLikeBasic) {
  // clang-format off
  const std::pair<const char*, int32_t> numbers[] = {
      {"12", 12}, {"  42 ", 42}, {"+7", 7}, {"-3", -3}, {"0007", 7}, {"2147483647", 2147483647},
      {"-2147483648", std::numeric_limits<int32_t>::min()},
  };
  // clang-format on
  for (const auto& [text, value] : numbers) EXPECT_EQ(ToLong(text), value) << text;
  for (const char* text : {"", "   ", "-", "12a", "+-3", "1 2"})
    EXPECT_EQ(test::ErrorOf([&] { ToLong(text); }), "run-time 13: Type mismatch") << text;
  for (const char* text : {"2147483648", "-2147483649", "99999999999999999999"})
    EXPECT_EQ(test::ErrorOf([&] { ToLong(text); }), "run-time 6: Overflow") << text;
}

}  // namespace
}  // namespace musedata
