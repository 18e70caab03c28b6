#include "help/about_texts.h"

namespace tf {

AboutTexts aboutTexts(const ApplicationInfo& application) {
    // Each part in plain decimal, not padded: 2.0.15, and 2.0.0 for a release without revisions.
    const QString version = QString::number(application.Major) + QLatin1Char('.') +
                            QString::number(application.Minor) + QLatin1Char('.') +
                            QString::number(application.Revision);
    return {QStringLiteral("About ") + application.Title, application.Title, version,
            application.LegalCopyright};
}

}  // namespace tf
