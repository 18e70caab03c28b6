#include "app/start_outlook.h"

#include <gtest/gtest.h>

#include "outlook/session.h"
#include "tests/support/memory_store.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/window_fakes.h"

namespace tf::testing {
namespace {

class FailingNamespaceApplication : public outlook::Application {
  public:
    outlook::NameSpacePtr GetNamespace(const QString&) override {
        throw Failure(err::kAutomation, QStringLiteral("The profile cannot be opened."));
    }
};

class StartOutlook : public ::testing::Test {
  protected:
    StartOutlook() : errors(prompter), messageWindow(log) {}

    bool start(bool debug = false) {
        return Start_Outlook(errors, prompter, messageWindow, source, debug, session);
    }
    static outlook::ApplicationPtr application() {
        return std::make_shared<outlook::SessionApplication>(std::vector<outlook::StorePtr>{
            MemoryStore::withDefaultFolders(QStringLiteral("P"), QStringLiteral("S"))});
    }

    ScriptedPrompter prompter;
    ErrorContext errors;
    WindowLog log;
    RecordingMessageWindow messageWindow;
    FakeApplicationSource source;
    OutlookSession session;
};

TEST_F(StartOutlook, AttachesToOpenStoresWithoutStartingAnother) {
    source.attached = application();
    EXPECT_TRUE(start());
    EXPECT_EQ(source.createObjectCalls, 0);
    EXPECT_TRUE(session.nameSpace);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(messageWindow.text(), QStringLiteral("Initializing Outlook.\r\n\r\nPlease wait ..."));
    EXPECT_EQ(errors.stack.count(), 0);
}

TEST_F(StartOutlook, StartsTheDefaultStoreSilentlyWhenNothingIsOpen) {
    source.created = application();
    EXPECT_TRUE(start());
    EXPECT_EQ(source.getObjectCalls, 1);
    EXPECT_EQ(source.createObjectCalls, 1);
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(StartOutlook, SaysWhenAttachingFailedOnlyInDebugMode) {
    source.created = application();
    EXPECT_TRUE(start(true));
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("GetObject() Did Not Work")});
}

TEST_F(StartOutlook, GivesUpWhenNeitherWayWorks) {
    EXPECT_FALSE(start());
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().text,
              QStringLiteral("Unable to initialize Outlook.  Please try again."));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly);
    EXPECT_FALSE(session.nameSpace);
}

TEST_F(StartOutlook, AFailedAttachIsIgnoredAndASessionIsStarted) {
    source.getObjectFailure = Failure(err::kAutomation, QStringLiteral("not running"));
    source.created = application();
    EXPECT_TRUE(start());
    EXPECT_EQ(source.createObjectCalls, 1);
    EXPECT_TRUE(session.nameSpace);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_FALSE(errors.current.isSet());
    EXPECT_EQ(errors.stack.count(), 0);
}

TEST_F(StartOutlook, WhenBothWaysFailTheOnlyMessageIsTheStandardOne) {
    source.getObjectFailure = Failure(
        err::kAutomation, QStringLiteral("The store \"/tmp/x\" could not be opened.\r\n\r\nbad"));
    source.createObjectFailure =
        Failure(err::kAutomation, QStringLiteral("The default store could not be opened."));
    EXPECT_FALSE(start());
    EXPECT_EQ(source.getObjectCalls, 1);
    EXPECT_EQ(source.createObjectCalls, 1);
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().text,
              QStringLiteral("Unable to initialize Outlook.  Please try again."));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly);
    EXPECT_FALSE(errors.current.isSet());
    EXPECT_FALSE(session.application);
    // The reasons are kept for the terminal, in the order the ways were tried.
    EXPECT_EQ(session.startFailures,
              (QStringList{QStringLiteral("The store \"/tmp/x\" could not be opened.\r\n\r\nbad"),
                           QStringLiteral("The default store could not be opened.")}));
}

TEST_F(StartOutlook, ADamagedDefaultStoreGivesOnlyTheStandardMessage) {
    source.createObjectFailure =
        Failure(err::kAutomation, QStringLiteral("The default store could not be opened."));
    EXPECT_FALSE(start(true));
    EXPECT_EQ(prompter.texts(),
              (QStringList{QStringLiteral("GetObject() Did Not Work"),
                           QStringLiteral("Unable to initialize Outlook.  Please try again.")}));
}

TEST_F(StartOutlook, ANamespaceThatCannotBeHadClosesTheMessageWindow) {
    source.attached = std::make_shared<FailingNamespaceApplication>();
    EXPECT_FALSE(start());
    EXPECT_EQ(
        prompter.texts(),
        QStringList{QStringLiteral("Unable to initialize Outlook Namespace.  Please try again.")});
    EXPECT_EQ(log.events(), QStringList{QStringLiteral("message:unload")});
    EXPECT_FALSE(errors.current.isSet());
}

TEST(SessionNamespace, OnlyMapiIsKnown) {
    auto app = std::make_shared<outlook::SessionApplication>(std::vector<outlook::StorePtr>{});
    EXPECT_TRUE(app->GetNamespace(QStringLiteral("MAPI")));
    EXPECT_THROW(app->GetNamespace(QStringLiteral("mapi")), Failure);
    // With no store open there is no default folder to give.
    EXPECT_THROW(app->GetNamespace(QStringLiteral("MAPI"))->GetDefaultFolder(6), Failure);
}

}  // namespace
}  // namespace tf::testing
