#include "errors/error_stack.h"

#include <gtest/gtest.h>

#include "common/failure.h"
#include "common/prompter.h"
#include "errors/current_error.h"
#include "tests/errors/report_texts.h"
#include "tests/support/scripted_prompter.h"

namespace tf {
namespace {

using testing::referencedReport;
using testing::ScriptedPrompter;
using testing::unreferencedReport;
using testing::vanishedReport;

class ErrorStackTest : public ::testing::Test {
  protected:
    void fail(int number, const QString& description, const QString& source) {
        current.set(Failure(number, description, source));
    }

    ScriptedPrompter prompter;
    CurrentError current;
    ErrorStack stack{prompter, current};
};

TEST_F(ErrorStackTest, GrowsByTenWhenAPushFillsTheLastElement) {
    EXPECT_EQ(stack.count(), 0);
    EXPECT_EQ(stack.capacity(), 10);
    const struct {
        int pushes;
        int capacity;
    } steps[] = {{9, 10}, {10, 20}, {19, 20}, {20, 30}, {29, 30}, {30, 40}};
    int pushed = 0;
    for (const auto& s : steps) {
        while (pushed < s.pushes) {
            stack.PUSH(QStringLiteral("P%1").arg(++pushed), 0);
        }
        EXPECT_EQ(stack.count(), s.pushes);
        EXPECT_EQ(stack.capacity(), s.capacity) << s.pushes << " pushes";
    }
    for (int i = 1; i <= 30; ++i) {
        EXPECT_EQ(stack.entry(i).Label, QStringLiteral("P%1").arg(i));
    }
    // Clearing and popping never shrink the array.
    stack.Clear();
    EXPECT_EQ(stack.count(), 0);
    EXPECT_EQ(stack.capacity(), 40);
}

TEST_F(ErrorStackTest, PopRemovesFromTheTopAndNeverGoesBelowEmpty) {
    stack.PUSH("A", 0);
    stack.PUSH("B", 0);
    stack.PUSH("C", 0);
    stack.POP(0);
    EXPECT_EQ(stack.count(), 3);
    stack.POP(-1);
    EXPECT_EQ(stack.count(), 3);
    stack.POP(1);
    EXPECT_EQ(stack.count(), 2);
    EXPECT_EQ(stack.entry(2).Label, "B");

    stack.POP(5);
    EXPECT_EQ(stack.count(), 0);
    stack.POP(1);
    EXPECT_EQ(stack.count(), 0);

    // A popped label is overwritten by the next push.
    stack.PUSH("D", kVolatileEntry);
    EXPECT_EQ(stack.count(), 1);
    EXPECT_EQ(stack.entry(1).Label, "D");
    EXPECT_EQ(stack.entry(1).Kind, kVolatileEntry);
    stack.Clear();
    stack.POP(2);
    EXPECT_EQ(stack.count(), 0);
    EXPECT_EQ(stack.capacity(), 10);
}

TEST_F(ErrorStackTest, DisplayStackListsOutermostFirstAfterALineBreak) {
    stack.DisplayStack();
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().text, "");
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly);
    EXPECT_EQ(prompter.last().title, "Tidyfold");

    stack.PUSH("Build_Folder_Tree", 0);
    stack.PUSH("Build_Folder_Tree - Get Namespace Folders", 0);
    stack.PUSH("Build_Folder_Tree - Create Root Node", 0);
    stack.POP(1);
    stack.DisplayStack();
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.last().text,
              "\r\nBuild_Folder_Tree\r\nBuild_Folder_Tree - Get Namespace Folders");
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly);
    EXPECT_EQ(prompter.last().title, "Tidyfold");
}

TEST_F(ErrorStackTest, DisplayReportsTheTopEntryAsLocation) {
    stack.PUSH("Form_Load", 0);
    stack.PUSH("Form_Load - Set Variables", 0);
    fail(91, "Object variable or With block variable not set", "Tidyfold");

    stack.Display("Form_Load");

    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text,
              referencedReport("Tidyfold", "Form_Load", "Form_Load - Set Variables",
                               "Object variable or With block variable not set", "91"));
    EXPECT_EQ(prompter.shown()[0].buttons, Prompter::OkOnly | Prompter::Critical);
    EXPECT_EQ(prompter.shown()[0].buttons, 16);
    EXPECT_EQ(prompter.shown()[0].title, "Tidyfold");
    EXPECT_EQ(prompter.shown()[1].text, "\r\nForm_Load\r\nForm_Load - Set Variables");
    EXPECT_EQ(prompter.shown()[1].buttons, Prompter::OkOnly);

    // The current error is reset; the stack is left to the handler.
    EXPECT_EQ(current.number, 0);
    EXPECT_EQ(current.description, "");
    EXPECT_EQ(current.source, "");
    EXPECT_EQ(stack.count(), 2);
    EXPECT_EQ(stack.entry(2).Label, "Form_Load - Set Variables");
}

TEST_F(ErrorStackTest, DisplayWordsAVanishedItemWhenTheTopEntryIsVolatile) {
    stack.PUSH("A", 0);
    stack.PUSH("A - step", kVolatileEntry);
    fail(-2147221233, "The operation failed.", "Microsoft Outlook");

    stack.Display("A");

    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text, vanishedReport("Microsoft Outlook", "A", "A - step",
                                                       "The operation failed.", "-2147221233"));
    EXPECT_EQ(prompter.shown()[0].buttons, 16);
    EXPECT_EQ(prompter.shown()[1].text, "\r\nA\r\nA - step");
    EXPECT_EQ(stack.count(), 2);

    // Only the top entry decides: a volatile entry further down gives the ordinary report.
    prompter.forget();
    stack.PUSH("A - inner", 0);
    fail(5, "Invalid procedure call or argument", "Tidyfold");
    stack.Display("A");
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(
        prompter.shown()[0].text,
        referencedReport("Tidyfold", "A", "A - inner", "Invalid procedure call or argument", "5"));
}

TEST_F(ErrorStackTest, DisplayOnAnEmptyStackHasNoLocation) {
    fail(err::kAutomation, "Cannot open the folder.", "Outlook.Application");

    stack.Display("cmdClean_Click");

    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text,
              unreferencedReport("Outlook.Application", "cmdClean_Click", "Cannot open the folder.",
                                 "-2147352567"));
    EXPECT_FALSE(prompter.shown()[0].text.contains("Location:"));
    EXPECT_EQ(prompter.shown()[0].buttons, 16);
    EXPECT_EQ(prompter.shown()[0].title, "Tidyfold");
    EXPECT_EQ(prompter.shown()[1].text, "");
    EXPECT_EQ(prompter.shown()[1].buttons, Prompter::OkOnly);
    EXPECT_EQ(current.number, 0);
    EXPECT_EQ(stack.count(), 0);
}

TEST_F(ErrorStackTest, DisplayIgnoresTheAnswer) {
    stack.PUSH("P", 0);
    fail(6, "Overflow", "Tidyfold");
    prompter.answer(Prompter::Cancel).answer(Prompter::Cancel);
    stack.Display("P");
    EXPECT_EQ(prompter.shown().size(), 2u);
    EXPECT_TRUE(prompter.scriptUsedUp());
    EXPECT_EQ(current.number, 0);
    EXPECT_EQ(stack.count(), 1);
}

}  // namespace
}  // namespace tf
