#pragma once

#include <QString>
#include <vector>

#include "window/control_ids.h"

namespace tf {

// A page of the manual and the context identifier that the help file knows it by.
struct HelpTopic {
    int contextId;
    QString page;
};

// Every topic of the manual, the main window's start page first.
const std::vector<HelpTopic>& helpTopics();

// The topic each control of the main window opens in What's This mode; 0 for none.
int designedTopicOf(const QString& name);
int designedTopicOf(Control control);

}  // namespace tf
