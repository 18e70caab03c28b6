#include "outlook/mapi_utils.h"

#include <gtest/gtest.h>

#include "common/failure.h"
#include "outlook/constants.h"
#include "tests/support/qt_printers.h"

namespace tf::outlook {
namespace {

class OneProperty : public MapiObject {
  public:
    std::optional<QString> property(std::uint32_t tag) const override {
        if (tag == PR_SENDER_NAME) {
            return QStringLiteral("Zoë Ångström");
        }
        return std::nullopt;
    }
};

TEST(HrGetOneProp, ReadsTheSenderAndGivesEmptyTextForWhatIsMissing) {
    const TidyMAPIUtils utils;
    const auto message = std::make_shared<OneProperty>();
    EXPECT_EQ(utils.HrGetOneProp(message, PR_SENDER_NAME), QStringLiteral("Zoë Ångström"));
    EXPECT_EQ(utils.HrGetOneProp(message, 0x0037001E), QString());  // no subject property
    // A property of another type than text is not read as text.
    EXPECT_EQ(utils.HrGetOneProp(message, 0x0C1A0003), QString());
}

TEST(HrGetOneProp, FailsForAnEmptyMessageObject) {
    try {
        TidyMAPIUtils().HrGetOneProp(nullptr, PR_SENDER_NAME);
        FAIL() << "an empty object was read";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.number(), err::kObjectNotSet);
        EXPECT_EQ(failure.source(), QStringLiteral("TidyDll.TidyMAPIUtils"));
    }
}

}  // namespace
}  // namespace tf::outlook
