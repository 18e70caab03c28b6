#include "app/store_choice.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

namespace tf {

QString maildirProblem(const QString& folder) {
    const QString chooseRight = QStringLiteral(
        "Choose the folder that holds cur/, new/ and tmp/ (often ~/Mail or "
        "~/Maildir).");
    if (folder.trimmed().isEmpty()) {
        return QStringLiteral("No folder is chosen yet. ") + chooseRight;
    }
    const QFileInfo info(folder);
    const QString shown = QDir::toNativeSeparators(folder);
    if (!info.exists()) {
        return QStringLiteral("%1 does not exist.").arg(shown);
    }
    if (!info.isDir()) {
        return QStringLiteral("%1 is a file, not a folder. ").arg(shown) + chooseRight;
    }
    QStringList missing;
    for (const char* part : {"cur", "new", "tmp"}) {
        const QFileInfo sub(QDir(folder).filePath(QLatin1String(part)));
        if (!sub.isDir()) {
            missing << QLatin1String(part) + QLatin1Char('/');
        }
    }
    if (missing.isEmpty()) {
        return {};
    }
    const QString list = missing.size() == 1
                             ? missing.front()
                             : missing.mid(0, missing.size() - 1).join(QStringLiteral(", ")) +
                                   QStringLiteral(" and ") + missing.back();
    return QStringLiteral("%1 is not a Maildir folder: it has no %2. ").arg(shown, list) +
           chooseRight;
}

QString storeFileLocation(const QString& file) {
    return QStringLiteral("local:") + file.trimmed();
}

QString maildirLocation(const QString& folder, const QString& name) {
    const QString trimmed = name.trimmed();
    return QStringLiteral("maildir:") + folder.trimmed() +
           (trimmed.isEmpty() ? QString() : QLatin1Char('#') + trimmed);
}

}  // namespace tf
