#pragma once

#include "common/message_window.h"
#include "common/prompter.h"
#include "errors/error_trap.h"
#include "outlook/application_source.h"

namespace tf {

struct OutlookSession {
    outlook::ApplicationPtr application;
    outlook::NameSpacePtr nameSpace;
};

// Reaches the store session at start-up: attach first, start second. Returns false, after saying
// why, when no session could be had.
bool Start_Outlook(ErrorContext& errors, Prompter& prompter, MessageWindow& messageWindow,
                   ApplicationSource& source, bool debug, OutlookSession& session);

}  // namespace tf
