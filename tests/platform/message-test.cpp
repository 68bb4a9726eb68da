#include "platform/message.h"

#include <gtest/gtest.h>

#include "platform/utf.h"

namespace larder::platform {
namespace {

TEST(MessageTest, EveryCodeOfTheLibraryHasATextThatEndsInALineEnd) {
  for (const Code code :
       {kSuccess,           kInvalidFunction,   kFileNotFound,         kPathNotFound,
        kTooManyOpenFiles,  kAccessDenied,      kInvalidHandle,        kNotEnoughMemory,
        kInvalidData,       kGeneralFailure,    kSharingViolation,     kNotSupported,
        kInvalidParameter,  kDiskFull,          kInvalidName,          kModuleNotFound,
        kProcedureNotFound, kDirectoryNotEmpty, kAlreadyExists,        kBadExeFormat,
        kNameTooLong,       kMoreData,          kNoMoreItems,          kInvalidDirectory,
        kRegistryCorrupt,   kKeyDeleted,        kNoUnicodeTranslation, kIoDevice,
        kCannotResolveName}) {
    const std::string text = Utf8FromWide(SystemMessage(code));
    ASSERT_GT(text.size(), 2u) << code;
    EXPECT_EQ(text.find_first_of("\r\n"), text.size() - 2) << code;
    EXPECT_TRUE(text.ends_with("\r\n")) << code;
  }
}

TEST(MessageTest, CodesHaveTextsOfTheirOwnWithInsertsAsTheyAreAndUnknownOnesNone) {
  EXPECT_NE(SystemMessage(kFileNotFound), SystemMessage(kPathNotFound));
  EXPECT_NE(SystemMessage(kFileNotFound), SystemMessage(kSuccess));
  EXPECT_NE(SystemMessage(kBadExeFormat).find(LARDER_WIDE("%1")), WideString::npos);
  EXPECT_EQ(SystemMessage(0x2FFFFFFF), WideString());
}

TEST(MessageTest, AReasonHasTheTextAndTheNumberOrTheNumberAlone) {
  std::string text = Utf8FromWide(SystemMessage(kAccessDenied));
  text.resize(text.size() - 2);
  EXPECT_EQ(SystemText(kAccessDenied), text);
  EXPECT_EQ(SystemReason(kAccessDenied), text + " (5)");
  EXPECT_EQ(SystemText(0x2FFFFFFF), "");
  EXPECT_EQ(SystemReason(0x2FFFFFFF), "code 805306367");
}

}  // namespace
}  // namespace larder::platform
