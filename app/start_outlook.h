#pragma once

#include <QStringList>

#include "common/prompter.h"
#include "errors/error_trap.h"
#include "outlook/application_source.h"
#include "window/message_window.h"

namespace tf {

struct OutlookSession {
    outlook::ApplicationPtr application;
    outlook::NameSpacePtr nameSpace;
    // Why each way to a session failed, for the program's own diagnostics (standard error); the
    // window shows one plain message whatever the reasons.
    QStringList startFailures;
};

// Reaches the store session at start-up: attach first, start second, each with errors ignored.
// Returns false, after one message, when no session could be had.
bool Start_Outlook(ErrorContext& errors, Prompter& prompter, MessageWindow& messageWindow,
                   ApplicationSource& source, bool debug, OutlookSession& session);

}  // namespace tf
