#include "app/start_outlook.h"

#include <functional>

namespace tf {

namespace {

// Tries one way to a session with errors ignored; a failure leaves no application behind and
// its reason in the session's notes, not on the screen.
void tryWay(ErrorContext& errors, OutlookSession& session,
            const std::function<outlook::ApplicationPtr()>& way) {
    if (!errors.attempt([&] { session.application = way(); })) {
        session.application.reset();
        session.startFailures << errors.current.description;
        errors.current.clear();
    }
}

}  // namespace

bool Start_Outlook(ErrorContext& errors, Prompter& prompter, MessageWindow& messageWindow,
                   ApplicationSource& source, bool debug, OutlookSession& session) {
    bool result = false;
    errors.run(QStringLiteral("Start_Outlook"), [&](Procedure&) {
        messageWindow.setText(pleaseWaitText(QStringLiteral("Initializing Outlook.")));
        result = true;

        tryWay(errors, session, [&] { return source.GetObject(); });
        if (!session.application) {
            if (debug) {
                prompter.tell(QStringLiteral("GetObject() Did Not Work"));
            }
            tryWay(errors, session, [&] { return source.CreateObject(); });
        }
        if (!session.application) {
            prompter.tell(QStringLiteral("Unable to initialize Outlook.  Please try again."));
            result = false;
            return;
        }

        if (!errors.attempt([&] {
                session.nameSpace = session.application->GetNamespace(QStringLiteral("MAPI"));
            })) {
            session.nameSpace.reset();
        }
        if (!session.nameSpace) {
            errors.current.clear();
            prompter.tell(
                QStringLiteral("Unable to initialize Outlook Namespace.  Please try again."));
            messageWindow.unload();
            result = false;
        }
    });
    return result;
}

}  // namespace tf
