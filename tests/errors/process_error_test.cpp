#include "errors/process_error.h"

#include <gtest/gtest.h>

#include "common/failure.h"
#include "common/prompter.h"
#include "errors/current_error.h"
#include "tests/support/scripted_prompter.h"

namespace tf {
namespace {

using testing::ScriptedPrompter;

QString processingReport(const QString& source, const QString& process, const QString& item,
                         const QString& description, const QString& number) {
    return "An processing error has occurred.\r\n\r\n"
           "The following item could not be processed:\r\n"
           "  Source:    \t" +
           source + "\r\n" + "  Process:   \t" + process + "\r\n" + "  Item:      \t" + item +
           "\r\n" + "  Descripton:\t" + description + "\r\n" + "  Number:    \t" + number +
           "\r\n\r\n" + "Suppress further messages?";
}

class ProcessErrorTest : public ::testing::Test {
  protected:
    ProcessErrorTest() {
        current.set(Failure(err::kAutomation, "Cannot delete this item.", "Microsoft Outlook"));
    }

    ScriptedPrompter prompter;
    CurrentError current;
};

TEST_F(ProcessErrorTest, AsksYesNoWithTheItemAndTheCurrentError) {
    ProcessError report(prompter, current);
    EXPECT_FALSE(report.SuppressMessages());
    prompter.answer(Prompter::No);

    report.DisplayProcessingError("Turbo Delete - Unable to delete item", "Inbox - Lunch?");

    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().text,
              processingReport("Microsoft Outlook", "Turbo Delete - Unable to delete item",
                               "Inbox - Lunch?", "Cannot delete this item.", "-2147352567"));
    EXPECT_EQ(prompter.last().buttons, Prompter::YesNo);
    EXPECT_EQ(prompter.last().title, "Tidyfold");
    // The caller goes on with the same error still recorded.
    EXPECT_EQ(current.number, err::kAutomation);
    EXPECT_EQ(current.description, "Cannot delete this item.");
    EXPECT_EQ(current.source, "Microsoft Outlook");

    current.set(Failure(70, "Permission denied", "Tidyfold"));
    prompter.answer(Prompter::No);
    report.DisplayProcessingError("Delete Folder - Remove", "Archive");
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.last().text, processingReport("Tidyfold", "Delete Folder - Remove",
                                                     "Archive", "Permission denied", "70"));
}

TEST_F(ProcessErrorTest, NoKeepsReportingAndYesSilencesTheRest) {
    ProcessError report(prompter, current);
    prompter.answer(Prompter::No);
    report.DisplayProcessingError("Filtered Delete - Set Object", "Inbox - A");
    EXPECT_FALSE(report.SuppressMessages());
    EXPECT_EQ(prompter.shown().size(), 1u);

    prompter.answer(Prompter::Yes);
    report.DisplayProcessingError("Filtered Delete - Set Object", "Inbox - B");
    EXPECT_TRUE(report.SuppressMessages());
    EXPECT_EQ(prompter.shown().size(), 2u);

    report.DisplayProcessingError("Filtered Delete - Set Object", "Inbox - C");
    report.DisplayProcessingError("Turbo Delete - Unable to delete item", "Inbox - D");
    EXPECT_EQ(prompter.shown().size(), 2u);
    EXPECT_TRUE(report.SuppressMessages());
    EXPECT_EQ(current.number, err::kAutomation);

    // A new report object asks again.
    ProcessError next(prompter, current);
    EXPECT_FALSE(next.SuppressMessages());
    prompter.answer(Prompter::No);
    next.DisplayProcessingError("Filtered Delete - Set Object", "Inbox - E");
    ASSERT_EQ(prompter.shown().size(), 3u);
    EXPECT_TRUE(prompter.last().text.contains("Inbox - E"));

    // The owner may switch the suppression itself.
    next.setSuppressMessages(true);
    next.DisplayProcessingError("Filtered Delete - Set Object", "Inbox - F");
    EXPECT_EQ(prompter.shown().size(), 3u);
    next.setSuppressMessages(false);
    prompter.answer(Prompter::No);
    next.DisplayProcessingError("Filtered Delete - Set Object", "Inbox - G");
    EXPECT_EQ(prompter.shown().size(), 4u);
}

}  // namespace
}  // namespace tf
