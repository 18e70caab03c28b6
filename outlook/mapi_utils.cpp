#include "outlook/mapi_utils.h"

#include "common/failure.h"

namespace tf::outlook {

namespace {
// The low word of a tag is its type: 0x001E is an 8-bit string, 0x001F a Unicode one.
constexpr std::uint32_t kTypeMask = 0xFFFF;
constexpr std::uint32_t kString8 = 0x001E;
constexpr std::uint32_t kUnicode = 0x001F;
}  // namespace

QString TidyMAPIUtils::HrGetOneProp(const MapiObjectPtr& mapiObject,
                                    std::uint32_t propertyTag) const {
    if (!mapiObject) {
        throw Failure(err::kObjectNotSet,
                      QStringLiteral("Object variable or With block variable not set"),
                      QStringLiteral("TidyDll.TidyMAPIUtils"));
    }
    const std::uint32_t type = propertyTag & kTypeMask;
    if (type != kString8 && type != kUnicode) {
        return {};
    }
    return mapiObject->property(propertyTag).value_or(QString());
}

}  // namespace tf::outlook
