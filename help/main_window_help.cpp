#include "help/main_window_help.h"

#include "help/help_topics.h"

namespace tf {

void ControlsHelpForm::setWhatsThisHelpID(int index, int contextId) {
    controls_.update(allControls()[static_cast<std::size_t>(index)],
                     [&](ControlState& c) { c.whatsThisHelpID = contextId; });
}

void ControlsHelpForm::setTag(int index, const QString& tag) {
    controls_.update(allControls()[static_cast<std::size_t>(index)],
                     [&](ControlState& c) { c.tag = tag; });
}

std::optional<int> ControlsHelpForm::WhatsThisMode() {
    const std::optional<Control> control = pickControl();
    if (!control) {
        return std::nullopt;
    }
    return static_cast<int>(*control);
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

MainWindowHelp::MainWindowHelp(ErrorContext& errors, Prompter& prompter, Controls& controls)
    : form(controls), errors_(errors), prompter_(prompter) {
    // The topics as designed; start-up moves them into the tags.
    for (const Control control : allControls()) {
        controls.update(control,
                        [&](ControlState& c) { c.whatsThisHelpID = designedTopicOf(control); });
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
