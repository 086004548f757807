#include "component/trap.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>

#include "component/error_codes.h"

namespace musedata {
namespace {

// Runs `body` under the trap of `procedure` and returns what reached the caller.
ConverterError Raised(const Procedure& procedure, CaughtError* caught,
                      const std::function<void()>& body) {
  try {
    Trap(procedure, caught, body);
  } catch (const ConverterError& error) {
    return error;
  }
  ADD_FAILURE() << "the trap raised nothing";
  return ConverterError(0, "", "");
}

TEST(Trap, OwnErrorPassesThroughUnchangedAndIsRecorded) {
  CaughtError caught;
  const ConverterError error = Raised(kLoad, &caught, [] {
    Trap(kParseEnd, nullptr, [] { RaiseConverterError(kErrUnknownEndRecord, "inner report"); });
  });
  EXPECT_EQ(error.Number(), kErrorBase + 6027);
  EXPECT_EQ(error.Source(), "Verdantix");
  EXPECT_EQ(error.Description(), "inner report");
  EXPECT_EQ(caught.number, kErrorBase + 6027);
  EXPECT_EQ(caught.source, "Verdantix");
  EXPECT_EQ(caught.description, "inner report");
}

TEST(Trap, OtherErrorsAreWrappedWithTheProcedureNumberAndName) {
  struct Row {
    const char* name;
    Procedure procedure;
    std::function<void()> body;
    int32_t number;
    std::string description;
  };
  const std::vector<Row> rows = {
      {"run-time error", kParseBarLine, [] { throw RunTimeError::SubscriptOutOfRange(); }, 6021,
       "MuseData ParseBarLine error 9: Subscript out of range"},
      {"reader's name has a blank", kNextRecord, [] { throw RunTimeError::Overflow(); }, 6009,
       "MuseData Next Record error 6: Overflow"},
      {"document set-up has no prefix", kInitializeXML, [] { throw RunTimeError::InvalidCall(); },
       6003, "InitializeXML error 5: Invalid procedure call or argument"},
      {"host error of another source", kLoad,
       [] { throw ConverterError(1004, "Notation host", "Disk is full"); }, 6008,
       "MuseData Load error 1004: Disk is full"},
      {"host's negative number in decimal", kSave,
       [] { throw ConverterError(kErrorBase + 6007, "Other", "Stopped by the user"); }, 6053,
       "MuseData Save error -2147215497: Stopped by the user"},
      {"out_of_range", kParseNoteRecord, [] { (void)std::vector<int>().at(3); }, 6035,
       "MuseData ParseNoteRecord error 9: Subscript out of range"},
      {"bad_alloc", kAddText, [] { throw std::bad_alloc(); }, 6014,
       "MuseData AddText error 7: Out of memory"},
      {"overflow_error", kReset, [] { throw std::overflow_error("x"); }, 6051,
       "MuseData Reset error 6: Overflow"},
      {"filesystem_error", kSaveData,
       [] {
         throw std::filesystem::filesystem_error("x", std::make_error_code(std::errc::io_error));
       },
       6054, "MuseData SaveData error 75: Path/File access error"},
      {"other exception", kParseAttributes, [] { throw std::runtime_error("x"); }, 6019,
       "MuseData ParseAttributes error 5: Invalid procedure call or argument"},
      {"not an exception", kCleanseComment, [] { throw 3; }, 6047,
       "CleanseComment error 5: Invalid procedure call or argument"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    CaughtError caught;
    const ConverterError error = Raised(row.procedure, &caught, row.body);
    EXPECT_EQ(error.Number(), kErrorBase + row.number);
    EXPECT_EQ(error.Source(), "Verdantix");
    EXPECT_EQ(error.Description(), row.description);
    EXPECT_EQ(std::string(error.what()), row.description);
    // The caught-error record keeps what the trap caught, not what it raised.
    EXPECT_NE(caught.number, error.Number());
    EXPECT_EQ(row.description.substr(row.description.size() - caught.description.size()),
              caught.description);
  }
}

TEST(Trap, SpecificMessageReplacesTheGeneralOne) {
  const auto fileNotFound = [](const CaughtError& error) -> std::optional<ConverterError> {
    if (error.number != 53) return std::nullopt;
    return ConverterError(kErrorBase + kErrFileNotFound, kErrorSource, "File op4.md not found");
  };
  CaughtError caught;
  try {
    Trap(
        kLoad, &caught, [] { throw RunTimeError::FileNotFound(); }, fileNotFound);
    FAIL();
  } catch (const ConverterError& error) {
    EXPECT_EQ(static_cast<uint32_t>(error.Number()), 0x800417BEu);
    EXPECT_EQ(error.Description(), "File op4.md not found");
    EXPECT_EQ(caught.number, 53);
  }
  try {
    Trap(
        kLoad, &caught, [] { throw RunTimeError::PathFileAccess(); }, fileNotFound);
    FAIL();
  } catch (const ConverterError& error) {
    EXPECT_EQ(error.Description(), "MuseData Load error 75: Path/File access error");
  }
}

TEST(Trap, CheckedArithmeticRaisesOverflow) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  EXPECT_EQ(CheckedAdd(kMax - 1, 1), kMax);
  EXPECT_EQ(CheckedAdd(-5, 3), -2);
  EXPECT_EQ(CheckedMultiply(-46341, 46340), -2147441940);
  for (const auto& overflowing :
       std::vector<std::function<void()>>{[] { CheckedAdd(kMax, 1); }, [] { CheckedAdd(kMin, -1); },
                                          [] { CheckedMultiply(65536, 32768); }}) {
    try {
      overflowing();
      ADD_FAILURE() << "no overflow raised";
    } catch (const RunTimeError& error) {
      EXPECT_EQ(error.Number(), 6);
      EXPECT_EQ(error.Description(), "Overflow");
    }
  }
}

TEST(Trap, ToLongReadsWholeNumbersLikeBasic) {
  struct Row {
    const char* text;
    int32_t value;  // or the run-time error number when `error` is set
    bool error;
  };
  for (const Row& row :
       {Row{"12", 12, false}, Row{"  42 ", 42, false}, Row{"+7", 7, false}, Row{"-3", -3, false},
        Row{"0007", 7, false}, Row{"2147483647", 2147483647, false},
        Row{"-2147483648", std::numeric_limits<int32_t>::min(), false}, Row{"", 13, true},
        Row{"   ", 13, true}, Row{"-", 13, true}, Row{"12a", 13, true}, Row{"+-3", 13, true},
        Row{"1 2", 13, true}, Row{"2147483648", 6, true}, Row{"-2147483649", 6, true},
        Row{"99999999999999999999", 6, true}}) {
    SCOPED_TRACE(row.text);
    try {
      const int32_t value = ToLong(row.text);
      EXPECT_FALSE(row.error) << "read as " << value;
      EXPECT_EQ(value, row.value);
    } catch (const RunTimeError& error) {
      EXPECT_TRUE(row.error);
      EXPECT_EQ(error.Number(), row.value);
    }
  }
}

}  // namespace
}  // namespace musedata
