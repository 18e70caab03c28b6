#include "help/help_browser_logic.h"

#include "common/text.h"

namespace tf {

void HelpBrowserLogic::Form_Load() {
    elastic_.Init(window_);
    const double height = Val(settings_.Get_Setting(kHelpScreenHeight));
    if (height >= 5000) {
        window_.setHeight(height);
        window_.setWidth(Val(settings_.Get_Setting(kHelpScreenWidth)));
    }
}

void HelpBrowserLogic::Form_Unload() {
    settings_.Save_Setting(kHelpScreenHeight, window_.Height());
    settings_.Save_Setting(kHelpScreenWidth, window_.Width());
}

}  // namespace tf
