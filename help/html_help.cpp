#include "help/html_help.h"

#include <QFileInfo>

#include "common/numbers.h"
#include "common/text.h"

namespace tf {

HTML_Help::HTML_Help(Prompter& prompter, ApplicationInfo& application, HelpViewer& viewer)
    : errors(prompter), prompter_(prompter), application_(application), viewer_(viewer) {}

void HTML_Help::Set_Help_File(WhatsThisForm& form) {
    errors.run(QStringLiteral("Set_Help_File"), [&](Procedure& p) {
        p.step(QStringLiteral("Create Object"));
        QString path;
        p.step(QStringLiteral("Set Help - Design Time"));
        if (QFileInfo(application_.HelpFile).isFile()) {
            path = application_.HelpFile;
        } else {
            p.step(QStringLiteral("Set Help - Run Time"));
            const QFileInfo designed(application_.HelpFile);
            const QString besideProgram =
                QFileInfo(application_.Path + QLatin1Char('/') + designed.completeBaseName() +
                          QLatin1Char('.') + designed.suffix())
                    .filePath();
            if (!application_.Path.isEmpty() && QFileInfo(besideProgram).isFile()) {
                path = besideProgram;
            }
        }
        p.step(QStringLiteral("Save Settings"));
        application_.HelpFile = path;
        helpFile_ = path;
        ownerWindow_ = form.hWnd();
        // Every label goes at once.
        errors.stack.Clear();
    });
}

bool HTML_Help::reportUnopened(bool opened) {
    if (!opened) {
        prompter_.ask(
            QStringLiteral("Help file ") + helpFile_ + QStringLiteral(" could not be opened"),
            Prompter::OkOnly | Prompter::Critical);
    }
    return opened;
}

void HTML_Help::Show_Help() {
    errors.run(QStringLiteral("Show_Help"), [&](Procedure&) {
        if (Trim(helpFile_).isEmpty()) {
            prompter_.ask(QStringLiteral("Help file not found."),
                          Prompter::OkOnly | Prompter::Critical);
            return;
        }
        reportUnopened(viewer_.showContents(helpFile_));
    });
}

void HTML_Help::Transfer_WhatsThisHelpIDs(WhatsThisForm& form, const QString& mode) {
    errors.run(QStringLiteral("Transfer_WhatsThisHelpIDs"), [&](Procedure&) {
        for (int i = 0; i < form.controlCount(); ++i) {
            if (!form.hasHelpProperties(i)) {
                continue;
            }
            if (mode == QLatin1String("COPY")) {
                form.setTag(i, QString::number(form.WhatsThisHelpID(i)));
            } else if (mode == QLatin1String("ZERO")) {
                form.setWhatsThisHelpID(i, 0);
            } else if (mode == QLatin1String("GET")) {
                form.setWhatsThisHelpID(i, toInt32(Val(form.Tag(i))));
            }
        }
    });
}

void HTML_Help::Initialize_WhatsThis_Help(WhatsThisForm& form) {
    Transfer_WhatsThisHelpIDs(form, QStringLiteral("COPY"));
    Transfer_WhatsThisHelpIDs(form, QStringLiteral("ZERO"));
}

void HTML_Help::Activate_WhatsThis_Help(WhatsThisForm& form) {
    Transfer_WhatsThisHelpIDs(form, QStringLiteral("GET"));
    errors.run(QStringLiteral("Activate_WhatsThis_Help"), [&](Procedure&) {
        const std::optional<int> clicked = form.WhatsThisMode();
        if (!clicked) {
            return;
        }
        const int contextId = form.WhatsThisHelpID(*clicked);
        if (contextId == 0) {
            return;  // a control without a topic of its own
        }
        if (Trim(helpFile_).isEmpty()) {
            prompter_.ask(QStringLiteral("Help file not found."),
                          Prompter::OkOnly | Prompter::Critical);
            return;
        }
        reportUnopened(viewer_.showTopic(helpFile_, contextId));
    });
    Transfer_WhatsThisHelpIDs(form, QStringLiteral("ZERO"));
}

}  // namespace tf
