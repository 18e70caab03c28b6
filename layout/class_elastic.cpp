#include "layout/class_elastic.h"

#include <algorithm>
#include <exception>

#include "common/numbers.h"

namespace tf {

namespace {

// Runs one per-control step; a control that lacks the property or refuses the value is passed
// over and the loop goes on.
template <typename Step>
void ignoringFailure(Step&& step) {
    try {
        step();
    } catch (const std::exception&) {
    }
}

bool listed(const std::vector<QString>& names, const QString& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

const std::vector<QString>& class_Elastic::widthNames() {
    // "FrameWEBrowser" is spelt so on purpose: the height list spells the same frame otherwise.
    static const std::vector<QString> names = {
        QStringLiteral("txtMessageBox"),         QStringLiteral("TabStrip1"),
        QStringLiteral("WebBrowser2"),           QStringLiteral("txtTemplateTextBox"),
        QStringLiteral("ListAttachments"),       QStringLiteral("FrameAttachments"),
        QStringLiteral("FrameTemplate"),         QStringLiteral("FrameWEBrowser"),
        QStringLiteral("WebBrowser1"),           QStringLiteral("TabStrip_For_Email"),
        QStringLiteral("txtHTMLBody"),           QStringLiteral("FrameHTMLBody"),
        QStringLiteral("FrameHTMLTemplate"),     QStringLiteral("txtHTML_Template"),
        QStringLiteral("FrameTextEmailPreview"), QStringLiteral("txtEmailPreview"),
        QStringLiteral("txtText_Email"),         QStringLiteral("FrameHTMLView"),
        QStringLiteral("FrameTextTemplate"),     QStringLiteral("Frame2"),
        QStringLiteral("txtWebBrowseLocation")};
    return names;
}

const std::vector<QString>& class_Elastic::heightNames() {
    static const std::vector<QString> names = {
        QStringLiteral("ListTemplates"),         QStringLiteral("FrameTemplate"),
        QStringLiteral("ListAttachments"),       QStringLiteral("FrameAttachments"),
        QStringLiteral("txtTemplateTextBox"),    QStringLiteral("WebBrowser2"),
        QStringLiteral("WebBrowser1"),           QStringLiteral("TabStrip1"),
        QStringLiteral("TabStrip_For_Email"),    QStringLiteral("txtHTMLBody"),
        QStringLiteral("FrameHTMLBody"),         QStringLiteral("FrameHTMLTemplate"),
        QStringLiteral("txtHTML_Template"),      QStringLiteral("FrameWebBrowser"),
        QStringLiteral("FrameTextEmailPreview"), QStringLiteral("txtEmailPreview"),
        QStringLiteral("FrameTextTemplate"),     QStringLiteral("txtText_Email"),
        QStringLiteral("FrameHTMLView")};
    return names;
}

void class_Elastic::Init(ElasticWindow& window) {
    // The window's own size is not guarded: a window too large for 16 bits fails here.
    height_ = toInt16(window.Height());
    width_ = toInt16(window.Width());
    highestIndex_ = checkedSub(toInt16(window.controlCount()), std::int16_t{1});
    const auto size = static_cast<std::size_t>(highestIndex_ + 1);
    tops_.assign(size, 0);
    lefts_.assign(size, 0);
    heights_.assign(size, 0);
    widths_.assign(size, 0);
    firstResize_ = true;
    for (int i = 0; i <= highestIndex_; ++i) {
        ElasticControl& control = window.control(i);
        const auto at = static_cast<std::size_t>(i);
        ignoringFailure([&] { tops_[at] = toInt16(control.Top()); });
        ignoringFailure([&] { lefts_[at] = toInt16(control.Left()); });
        ignoringFailure([&] { heights_[at] = toInt16(control.Height()); });
        ignoringFailure([&] { widths_[at] = toInt16(control.Width()); });
    }
}

void class_Elastic::FormResize(ElasticWindow& window) {
    const bool autoRedraw = window.AutoRedraw();
    window.setAutoRedraw(true);
    if (firstResize_) {
        // The resize that comes with the first showing changes nothing, and leaves AutoRedraw on.
        firstResize_ = false;
        return;
    }
    const std::int32_t widthChange = checkedSub(toInt32(window.Width()), std::int32_t{width_});
    const std::int32_t heightChange = checkedSub(toInt32(window.Height()), std::int32_t{height_});
    const int controls = std::min(static_cast<int>(highestIndex_) + 1, window.controlCount());
    for (int i = 0; i < controls; ++i) {
        const auto at = static_cast<std::size_t>(i);
        ignoringFailure([&] {
            ElasticControl& control = window.control(i);
            const QString name = control.Name();
            if (listed(widthNames(), name)) {
                ignoringFailure(
                    [&] { control.setWidth(checkedAdd(std::int32_t{widths_[at]}, widthChange)); });
            }
            if (listed(heightNames(), name)) {
                ignoringFailure([&] {
                    control.setHeight(checkedAdd(std::int32_t{heights_[at]}, heightChange));
                });
            }
            if (name == QLatin1String("Toolbar3")) {
                ignoringFailure(
                    [&] { control.setLeft(checkedAdd(std::int32_t{lefts_[at]}, widthChange)); });
            }
        });
    }
    window.setAutoRedraw(autoRedraw);
}

}  // namespace tf
