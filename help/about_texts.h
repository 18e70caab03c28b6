#pragma once

#include <QString>

#include "help/application_info.h"

namespace tf {

// What the About window shows; nothing in it is fixed text apart from "About ".
struct AboutTexts {
    QString caption;
    QString heading;
    QString version;
    QString legalNotice;
};

AboutTexts aboutTexts(const ApplicationInfo& application);

}  // namespace tf
