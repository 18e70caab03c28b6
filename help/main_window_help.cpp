#include "help/main_window_help.h"

#include "help/help_topics.h"

namespace tf {

void ControlsHelpForm::setWhatsThisHelpID(int index, int contextId) {
    controls_.update(order_[index], [&](ControlState& c) { c.whatsThisHelpID = contextId; });
}

void ControlsHelpForm::setTag(int index, const QString& tag) {
    controls_.update(order_[index], [&](ControlState& c) { c.tag = tag; });
}

std::optional<int> ControlsHelpForm::WhatsThisMode() {
    const std::optional<QString> name = pickControl();
    if (!name) {
        return std::nullopt;
    }
    const qsizetype index = order_.indexOf(*name);
    return index < 0 ? std::nullopt : std::optional<int>(static_cast<int>(index));
}

QString onlineHelpAddress(const QString& site) {
    QString base = site.trimmed();
    while (base.endsWith(QLatin1Char('/'))) {
        base.chop(1);
    }
    return base + QStringLiteral("/tidyfoldhelp/index.html");
}

QString helpSiteAddress() {
    const QString configured = qEnvironmentVariable("TIDYFOLD_HELP_SITE").trimmed();
    return configured.isEmpty() ? QStringLiteral("https://tidyfold.org/") : configured;
}

MainWindowHelp::MainWindowHelp(ErrorContext& errors, Prompter& prompter, Controls& controls,
                               const QStringList& controlOrder)
    : form(controls, controlOrder), errors_(errors), prompter_(prompter) {
    // The topics as designed; start-up moves them into the tags.
    for (const QString& name : controls.names()) {
        controls.update(name, [&](ControlState& c) { c.whatsThisHelpID = designedTopicOf(name); });
    }
}

void MainWindowHelp::attach(HelpViewer& viewer, HelpWindows& windows) {
    viewer_ = &viewer;
    windows_ = &windows;
}

void MainWindowHelp::initialize() {
    help = std::make_unique<HTML_Help>(prompter_, application, *viewer_);
    help->Set_Help_File(form);
    help->Initialize_WhatsThis_Help(form);
}

void MainWindowHelp::mnuHelp_Click() {
    errors_.run(QStringLiteral("mnuHelp_Click"), [&](Procedure&) {
        if (help) {
            help->Show_Help();
        }
    });
}

void MainWindowHelp::mnuWhatsThis_Click() {
    errors_.run(QStringLiteral("mnuWhatsThis_Click"), [&](Procedure&) {
        if (help) {
            help->Activate_WhatsThis_Help(form);
        }
    });
}

void MainWindowHelp::mnuOnlineHelp_Click(const QString& address) {
    errors_.run(QStringLiteral("mnuOnlineHelp_Click"),
                [&](Procedure&) { windows_->showHelpBrowser(address); });
}

void MainWindowHelp::mnuAbout_Click() {
    errors_.run(QStringLiteral("mnuAbout_Click"), [&](Procedure&) { windows_->showAbout(); });
}

}  // namespace tf
