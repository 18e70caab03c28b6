#include "cleanings/cleaning_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>
#include <algorithm>

#include "window/type_boxes.h"

namespace tf::cleanings {

namespace {

const QString kFormat = QStringLiteral("Tidyfold cleaning");
const QStringList kTopKeys = {QStringLiteral("format"),  QStringLiteral("version"),
                              QStringLiteral("folders"), QStringLiteral("options"),
                              QStringLiteral("types"),   QStringLiteral("subject"),
                              QStringLiteral("cutoff")};

bool isTypeBox(Control box) {
    return std::any_of(kTypeBoxes.begin(), kTypeBoxes.end(),
                       [&](const TypeBox& t) { return t.control == box; });
}

QString typeName(const TypeBox& box) {
    return QString::fromLatin1(box.caption).toLower();
}

// Collects what is wrong with a file, so that the user reads one message with the first fault.
class Reader {
  public:
    explicit Reader(QString fileName) : fileName_(std::move(fileName)) {}

    [[noreturn]] void fail(const QString& why) const {
        throw CleaningError(
            QStringLiteral("The cleaning \"%1\" cannot be used: %2").arg(fileName_, why));
    }

    Cleaning read(const QByteArray& json) const {
        QJsonParseError error{};
        const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
        if (error.error != QJsonParseError::NoError) {
            fail(QStringLiteral("it is damaged (%1 at character %2).")
                     .arg(error.errorString())
                     .arg(error.offset));
        }
        if (!doc.isObject() || doc.object().value(QStringLiteral("format")).toString() != kFormat) {
            fail(QStringLiteral("it is not a saved cleaning."));
        }
        const QJsonObject top = doc.object();
        const QJsonValue version = top.value(QStringLiteral("version"));
        if (!version.isDouble() || version.toDouble() != static_cast<int>(version.toDouble()) ||
            version.toInt() < 1) {
            fail(QStringLiteral("its version is missing or not a whole number."));
        }
        if (version.toInt() > kFormatVersion) {
            fail(QStringLiteral("it was saved by a newer Tidyfold (version %1; this one reads "
                                "version %2).")
                     .arg(version.toInt())
                     .arg(kFormatVersion));
        }
        for (const QString& key : top.keys()) {
            if (!kTopKeys.contains(key)) {
                fail(QStringLiteral("\"%1\" is not part of a cleaning.").arg(key));
            }
        }
        Cleaning cleaning;
        readFolders(top.value(QStringLiteral("folders")), cleaning);
        readOptions(top.value(QStringLiteral("options")), cleaning);
        readTypes(top.value(QStringLiteral("types")), cleaning);
        const QJsonValue subject = top.value(QStringLiteral("subject"));
        if (!subject.isUndefined() && !subject.isString()) {
            fail(QStringLiteral("the subject is not a text."));
        }
        cleaning.subject = subject.toString();
        readCutoff(top.value(QStringLiteral("cutoff")), cleaning);
        return cleaning;
    }

  private:
    void readFolders(const QJsonValue& value, Cleaning& cleaning) const {
        if (value.isUndefined()) {
            return;
        }
        if (!value.isArray()) {
            fail(QStringLiteral("\"folders\" is not a list."));
        }
        for (const QJsonValue& entry : value.toArray()) {
            const QJsonObject folder = entry.toObject();
            const QJsonValue path = folder.value(QStringLiteral("path"));
            if (!entry.isObject() || !folder.value(QStringLiteral("store")).isString() ||
                !path.isArray() || path.toArray().isEmpty()) {
                fail(QStringLiteral("a folder lacks its store or its path."));
            }
            FolderRef ref{folder.value(QStringLiteral("store")).toString(), {}};
            for (const QJsonValue& name : path.toArray()) {
                if (!name.isString() || name.toString().isEmpty()) {
                    fail(QStringLiteral("a folder's path holds an empty or unnamed step."));
                }
                ref.path << name.toString();
            }
            cleaning.folders.push_back(ref);
        }
    }

    void readOptions(const QJsonValue& value, Cleaning& cleaning) const {
        if (value.isUndefined()) {
            return;
        }
        if (!value.isObject()) {
            fail(QStringLiteral("\"options\" is not a set of options."));
        }
        const QJsonObject options = value.toObject();
        for (const QString& key : options.keys()) {
            const auto known = std::find_if(savedOptions().begin(), savedOptions().end(),
                                            [&](Control box) { return optionKey(box) == key; });
            if (known == savedOptions().end() || isTypeBox(*known)) {
                fail(QStringLiteral("\"%1\" is not an option Tidyfold knows.").arg(key));
            }
            if (!options.value(key).isBool()) {
                fail(QStringLiteral("the option \"%1\" is neither true nor false.").arg(key));
            }
            cleaning.setOption(*known, options.value(key).toBool() ? 1 : 0);
        }
    }

    void readTypes(const QJsonValue& value, Cleaning& cleaning) const {
        if (value.isUndefined()) {
            return;
        }
        if (!value.isArray()) {
            fail(QStringLiteral("\"types\" is not a list."));
        }
        QStringList names;
        for (const QJsonValue& name : value.toArray()) {
            names << name.toString();
        }
        for (const QString& name : names) {
            if (std::none_of(kTypeBoxes.begin(), kTypeBoxes.end(),
                             [&](const TypeBox& t) { return typeName(t) == name; })) {
                fail(QStringLiteral("\"%1\" is not an item type Tidyfold knows.").arg(name));
            }
        }
        for (const TypeBox& box : kTypeBoxes) {
            cleaning.setOption(box.control, names.contains(typeName(box)) ? 1 : 0);
        }
    }

    void readCutoff(const QJsonValue& value, Cleaning& cleaning) const {
        if (value.isUndefined() || value.isNull()) {
            return;
        }
        const QJsonObject cutoff = value.toObject();
        const QJsonValue days = cutoff.value(QStringLiteral("olderThanDays"));
        const QJsonValue date = cutoff.value(QStringLiteral("date"));
        if (!value.isObject() || cutoff.size() != 1) {
            fail(QStringLiteral("the cut-off is neither an age nor a date."));
        }
        if (days.isDouble()) {
            const double d = days.toDouble();
            if (d != static_cast<int>(d) || d < 0 || d > 36500) {
                fail(QStringLiteral("the cut-off age is not a number of days from 0 to 36500."));
            }
            cleaning.cutoff = Cutoff{Cutoff::Kind::OlderThanDays, static_cast<int>(d), {}};
            return;
        }
        const QDate fixed = QDate::fromString(date.toString(), Qt::ISODate);
        if (!date.isString() || !fixed.isValid()) {
            fail(QStringLiteral("the cut-off is neither an age nor a date (YYYY-MM-DD)."));
        }
        cleaning.cutoff = Cutoff{Cutoff::Kind::FixedDate, 0, fixed};
    }

    QString fileName_;
};

}  // namespace

std::optional<int> Cleaning::option(Control box) const {
    for (const auto& [control, value] : options) {
        if (control == box) {
            return value;
        }
    }
    return std::nullopt;
}

void Cleaning::setOption(Control box, int value) {
    for (auto& [control, saved] : options) {
        if (control == box) {
            saved = value;
            return;
        }
    }
    // Kept in the order the options are put back, so that two cleanings with the same values
    // compare equal however they were made.
    const auto rank = [](Control c) {
        const auto& order = savedOptions();
        return std::find(order.begin(), order.end(), c) - order.begin();
    };
    const auto at = std::find_if(options.begin(), options.end(),
                                 [&](const auto& entry) { return rank(entry.first) > rank(box); });
    options.emplace(at, box, value);
}

const std::vector<Control>& savedOptions() {
    static const std::vector<Control> order = {Control::chkShowAllFolders,
                                               Control::chkShowSelectedItems,
                                               Control::chkShowUnselectedItems,
                                               Control::chkMarkSubFolders,
                                               Control::chkCollapseFolders,
                                               Control::chkPermanentDelete,
                                               Control::chkConfirmFolders,
                                               Control::chkConfirmItems,
                                               Control::chkSelectUnread,
                                               Control::chkType43,
                                               Control::chkType26,
                                               Control::chkType40,
                                               Control::chkType42,
                                               Control::chkType48,
                                               Control::chkType44,
                                               Control::chkMatchCase,
                                               Control::chkMatchWord,
                                               Control::chkSelectDate,
                                               Control::chkSelectSubject,
                                               Control::chkSelectType,
                                               Control::chkTurbo,
                                               Control::chkDeleteFolders};
    return order;
}

QString optionKey(Control box) {
    QString name = controlName(box).mid(3);  // without "chk"
    name[0] = name[0].toLower();
    return name;
}

QByteArray toJson(const Cleaning& cleaning) {
    QJsonObject top;
    top.insert(QStringLiteral("format"), kFormat);
    top.insert(QStringLiteral("version"), kFormatVersion);
    QJsonArray folders;
    for (const FolderRef& ref : cleaning.folders) {
        folders.append(QJsonObject{{QStringLiteral("store"), withoutCredentials(ref.store)},
                                   {QStringLiteral("path"), QJsonArray::fromStringList(ref.path)}});
    }
    top.insert(QStringLiteral("folders"), folders);
    QJsonObject options;
    bool typesSaved = false;
    for (const auto& [box, value] : cleaning.options) {
        if (isTypeBox(box)) {
            typesSaved = true;
        } else {
            options.insert(optionKey(box), value == 1);
        }
    }
    top.insert(QStringLiteral("options"), options);
    if (typesSaved) {
        QStringList types;
        for (const TypeBox& box : kTypeBoxes) {
            if (cleaning.option(box.control) == 1) {
                types << typeName(box);
            }
        }
        top.insert(QStringLiteral("types"), QJsonArray::fromStringList(types));
    }
    top.insert(QStringLiteral("subject"), cleaning.subject);
    if (cleaning.cutoff) {
        top.insert(QStringLiteral("cutoff"),
                   cleaning.cutoff->kind == Cutoff::Kind::OlderThanDays
                       ? QJsonObject{{QStringLiteral("olderThanDays"), cleaning.cutoff->days}}
                       : QJsonObject{{QStringLiteral("date"),
                                      cleaning.cutoff->date.toString(Qt::ISODate)}});
    }
    return QJsonDocument(top).toJson(QJsonDocument::Indented);
}

Cleaning fromJson(const QByteArray& json, const QString& fileName) {
    return Reader(fileName).read(json);
}

QString cleaningsFolder() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("Tidyfold/cleanings"));
}

QString cleaningFile(const QString& nameOrFile) {
    // A bare name is a cleaning of the user's own; anything that looks like a path is a file.
    if (nameOrFile.contains(QLatin1Char('/')) || nameOrFile.endsWith(QLatin1String(".json"))) {
        return nameOrFile;
    }
    return QDir(cleaningsFolder()).filePath(nameOrFile + QStringLiteral(".json"));
}

Cleaning load(const QString& file) {
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        throw CleaningError(
            QStringLiteral("The cleaning \"%1\" cannot be read: %2").arg(file, in.errorString()));
    }
    // A cleaning is a few hundred bytes; anything far larger is not one.
    constexpr qint64 kMostBytes = 4 * 1024 * 1024;
    if (in.size() > kMostBytes) {
        throw CleaningError(
            QStringLiteral("The cleaning \"%1\" cannot be used: it is not a saved cleaning.")
                .arg(file));
    }
    return fromJson(in.readAll(), file);
}

void save(const Cleaning& cleaning, const QString& file) {
    const QFileInfo info(file);
    if (!QDir().mkpath(info.absolutePath())) {
        throw CleaningError(QStringLiteral("The cleaning \"%1\" cannot be saved: the folder %2 "
                                           "cannot be made.")
                                .arg(file, info.absolutePath()));
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(toJson(cleaning)) < 0 || !out.commit()) {
        throw CleaningError(
            QStringLiteral("The cleaning \"%1\" cannot be saved: %2").arg(file, out.errorString()));
    }
}

QString withoutCredentials(const QString& location) {
    const QUrl url(location, QUrl::StrictMode);
    if (!url.isValid() || url.password().isEmpty()) {
        return location;
    }
    QUrl clean = url;
    clean.setPassword({});
    return clean.toString();
}

}  // namespace tf::cleanings
