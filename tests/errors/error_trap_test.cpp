#include "errors/error_trap.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "common/failure.h"
#include "common/prompter.h"
#include "tests/errors/report_texts.h"
#include "tests/support/scripted_prompter.h"

namespace tf {
namespace {

using testing::referencedReport;
using testing::ScriptedPrompter;
using testing::unreferencedReport;
using testing::vanishedReport;

const Failure kNotSet(err::kObjectNotSet, "Object variable or With block variable not set",
                      "Tidyfold");

class ErrorTrapTest : public ::testing::Test {
  protected:
    ScriptedPrompter prompter;
    ErrorContext ctx{prompter};
};

TEST_F(ErrorTrapTest, FailureInAStepIsReportedUnderTheProcedureAndTheCallerGoesOn) {
    ctx.stack.PUSH("Form_Load", 0);

    const bool ok = ctx.run("Build_Folder_Tree", [&](Procedure& p) {
        p.step("Get Namespace Folders");
        p.step("Create Root Node");
        throw kNotSet;
    });

    EXPECT_FALSE(ok);
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(
        prompter.shown()[0].text,
        referencedReport("Tidyfold", "Build_Folder_Tree", "Build_Folder_Tree - Create Root Node",
                         "Object variable or With block variable not set", "91"));
    EXPECT_EQ(prompter.shown()[0].buttons, 16);
    EXPECT_EQ(prompter.shown()[1].text,
              "\r\nForm_Load\r\nBuild_Folder_Tree\r\nBuild_Folder_Tree - Get Namespace "
              "Folders\r\nBuild_Folder_Tree - Create Root Node");
    EXPECT_EQ(prompter.shown()[1].buttons, Prompter::OkOnly);
    // The handler cleared the whole stack, the caller's own label included, and the error.
    EXPECT_EQ(ctx.stack.count(), 0);
    EXPECT_EQ(ctx.current.number, 0);
    EXPECT_FALSE(ctx.current.isSet());
}

TEST_F(ErrorTrapTest, VolatileStepGivesTheVanishedItemReport) {
    const bool ok = ctx.run("A", [&](Procedure& p) {
        p.step("step", kVolatileEntry);
        throw Failure(-2147221233, "The operation failed.", "Microsoft Outlook");
    });

    EXPECT_FALSE(ok);
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text, vanishedReport("Microsoft Outlook", "A", "A - step",
                                                       "The operation failed.", "-2147221233"));
    EXPECT_EQ(prompter.shown()[1].text, "\r\nA\r\nA - step");
    EXPECT_EQ(ctx.stack.count(), 0);
}

TEST_F(ErrorTrapTest, CalledProcedureWithoutAHandlerIsTheLocation) {
    const bool ok = ctx.run("Load_Interface", [&](Procedure&) {
        Procedure inner(ctx.stack, "Cache_Folder_Items");
        inner.step("Get Items");
        inner.endSteps();
        throw Failure(err::kSubscriptOutOfRange, "Subscript out of range", "Tidyfold");
    });

    EXPECT_FALSE(ok);
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text,
              referencedReport("Tidyfold", "Load_Interface", "Cache_Folder_Items",
                               "Subscript out of range", "9"));
    EXPECT_EQ(prompter.shown()[1].text, "\r\nLoad_Interface\r\nCache_Folder_Items");
    EXPECT_EQ(ctx.stack.count(), 0);
}

TEST_F(ErrorTrapTest, NormalExitPopsEverythingItPushed) {
    ctx.stack.PUSH("Caller", 0);
    const bool ok = ctx.run("Build_Folder_Tree", [&](Procedure& p) {
        EXPECT_EQ(ctx.stack.count(), 2);
        EXPECT_EQ(p.name(), "Build_Folder_Tree");
        p.step("Get Namespace Folders");
        p.step("Create Root Node");
        EXPECT_EQ(ctx.stack.count(), 4);
        EXPECT_EQ(ctx.stack.entry(4).Label, "Build_Folder_Tree - Create Root Node");
        p.endSteps();
        EXPECT_EQ(ctx.stack.count(), 2);
        EXPECT_EQ(ctx.stack.entry(2).Label, "Build_Folder_Tree");

        // A nested procedure cleans up after itself as well.
        ctx.run("Add_Node", [&](Procedure& inner) {
            inner.step("Set Tag");
            EXPECT_EQ(ctx.stack.count(), 4);
        });
        EXPECT_EQ(ctx.stack.count(), 2);

        // Steps still pushed at the end are removed with the name.
        p.step("Expand Root");
    });

    EXPECT_TRUE(ok);
    EXPECT_TRUE(prompter.shown().empty());
    ASSERT_EQ(ctx.stack.count(), 1);
    EXPECT_EQ(ctx.stack.entry(1).Label, "Caller");
}

TEST_F(ErrorTrapTest, SecondFailureAfterAnInnerHandlerIsUnreferenced) {
    bool outerWentOn = false;
    const bool ok = ctx.run("cmdRefresh_Click", [&](Procedure& p) {
        p.step("Reload");
        const bool innerOk = ctx.run("Load_Interface", [&](Procedure&) { throw kNotSet; });
        EXPECT_FALSE(innerOk);
        EXPECT_EQ(ctx.stack.count(), 0);
        outerWentOn = true;
        throw Failure(err::kInvalidArgument, "Invalid procedure call or argument", "Tidyfold");
    });

    EXPECT_FALSE(ok);
    EXPECT_TRUE(outerWentOn);
    ASSERT_EQ(prompter.shown().size(), 4u);
    EXPECT_EQ(prompter.shown()[0].text,
              referencedReport("Tidyfold", "Load_Interface", "Load_Interface",
                               "Object variable or With block variable not set", "91"));
    EXPECT_EQ(prompter.shown()[1].text,
              "\r\ncmdRefresh_Click\r\ncmdRefresh_Click - Reload\r\nLoad_Interface");
    EXPECT_EQ(prompter.shown()[2].text,
              unreferencedReport("Tidyfold", "cmdRefresh_Click",
                                 "Invalid procedure call or argument", "5"));
    EXPECT_EQ(prompter.shown()[2].buttons, 16);
    EXPECT_EQ(prompter.shown()[3].text, "");
    EXPECT_EQ(ctx.stack.count(), 0);
}

TEST_F(ErrorTrapTest, OuterProcedureEndsNormallyOnTheClearedStack) {
    ctx.stack.PUSH("Form_Load", 0);
    const bool ok = ctx.run("Load_Interface", [&](Procedure& p) {
        p.step("Build Tree");
        ctx.run("Build_Folder_Tree", [&](Procedure&) { throw kNotSet; });
        p.step("Cache Items");
        EXPECT_EQ(ctx.stack.count(), 1);
        EXPECT_EQ(ctx.stack.entry(1).Label, "Load_Interface - Cache Items");
    });
    // The outer pops find less than they pushed and stop at empty.
    EXPECT_TRUE(ok);
    EXPECT_EQ(ctx.stack.count(), 0);
    EXPECT_EQ(prompter.shown().size(), 2u);
}

TEST_F(ErrorTrapTest, WithoutTrappingTheFailureTravelsOnUnreported) {
    ctx.Trap_Errors = false;
    EXPECT_THROW(ctx.run("Build_Folder_Tree",
                         [&](Procedure& p) {
                             p.step("Create Root Node");
                             throw kNotSet;
                         }),
                 Failure);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_FALSE(ctx.current.isSet());

    // Nested: the inner procedure does not stop it either.
    try {
        ctx.run("Outer", [&](Procedure&) {
            ctx.run("Inner", [&](Procedure&) { throw std::runtime_error("disk on fire"); });
            ADD_FAILURE() << "the outer procedure went on";
        });
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "disk on fire");
    }
    EXPECT_TRUE(prompter.shown().empty());

    // And a clean run still pops what it pushed.
    ctx.stack.Clear();
    EXPECT_TRUE(ctx.run("Quiet", [&](Procedure& p) { p.step("Work"); }));
    EXPECT_EQ(ctx.stack.count(), 0);
}

TEST_F(ErrorTrapTest, ForeignExceptionsAreReportedLikeOurOwn) {
    const bool ok = ctx.run("Cache_Folder_Items", [&](Procedure&) { throw std::bad_alloc(); });
    EXPECT_FALSE(ok);
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text,
              referencedReport("Tidyfold", "Cache_Folder_Items", "Cache_Folder_Items",
                               "Out of memory", "7"));

    prompter.forget();
    const bool ok2 = ctx.run("Pack_Cache", [&](Procedure&) { throw std::length_error("vector"); });
    EXPECT_FALSE(ok2);
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[0].text,
              referencedReport("Tidyfold", "Pack_Cache", "Pack_Cache", "vector", "51"));
    EXPECT_EQ(ctx.stack.count(), 0);
}

TEST_F(ErrorTrapTest, AttemptRecordsTheErrorWithoutShowingAnything) {
    ctx.stack.PUSH("Assigne_Deleted_Items_Folders", 0);

    const bool failed =
        ctx.attempt([] { throw Failure(err::kAutomation, "Cannot open", "Microsoft Outlook"); });
    EXPECT_FALSE(failed);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(ctx.current.number, err::kAutomation);
    EXPECT_EQ(ctx.current.description, "Cannot open");
    EXPECT_EQ(ctx.current.source, "Microsoft Outlook");
    EXPECT_EQ(ctx.stack.count(), 1);

    EXPECT_FALSE(ctx.attempt([] { throw std::bad_alloc(); }));
    EXPECT_EQ(ctx.current.number, err::kOutOfMemory);
    EXPECT_EQ(ctx.current.description, "Out of memory");

    // A call that succeeds leaves no error behind for the caller to read.
    int calls = 0;
    EXPECT_TRUE(ctx.attempt([&] { ++calls; }));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(ctx.current.number, 0);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(ctx.stack.count(), 1);
}

TEST_F(ErrorTrapTest, AttemptWithoutTrappingLetsTheFailureThrough) {
    ctx.Trap_Errors = false;
    EXPECT_THROW(ctx.attempt([] { throw kNotSet; }), Failure);
    EXPECT_FALSE(ctx.current.isSet());
    EXPECT_TRUE(prompter.shown().empty());
}

}  // namespace
}  // namespace tf
