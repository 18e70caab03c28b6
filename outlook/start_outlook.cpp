#include "outlook/start_outlook.h"

namespace tf {

bool Start_Outlook(ErrorContext& errors, Prompter& prompter, MessageWindow& messageWindow,
                   ApplicationSource& source, bool debug, OutlookSession& session) {
    bool result = false;
    errors.run(QStringLiteral("Start_Outlook"), [&](Procedure&) {
        messageWindow.setText(pleaseWaitText(QStringLiteral("Initializing Outlook.")));
        result = true;

        // A store named by the user that cannot be opened is reported as it is; falling back to
        // the default store would show the user someone else's folders.
        if (!errors.attempt([&] { session.application = source.GetObject(); })) {
            prompter.ask(errors.current.description, Prompter::OkOnly | Prompter::Critical);
            errors.current.clear();
            result = false;
            return;
        }

        if (!session.application) {
            if (debug) {
                prompter.tell(QStringLiteral("GetObject() Did Not Work"));
            }
            if (!errors.attempt([&] { session.application = source.CreateObject(); })) {
                // Say why before the standard notice: a damaged default store is the user's to
                // repair or move aside, and retrying will not help.
                session.application.reset();
                prompter.ask(errors.current.description, Prompter::OkOnly | Prompter::Critical);
                errors.current.clear();
            }
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
