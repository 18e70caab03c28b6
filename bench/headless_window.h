#pragma once

#include <QString>
#include <cstdio>

#include "cli/headless_parts.h"
#include "common/prompter.h"
#include "outlook/application_source.h"
#include "outlook/session.h"
#include "store/local/local_store.h"

// What a benchmark needs to drive the window's logic without a display.
namespace tf::bench {

// Answers every question Yes or OK, and prints the messages a benchmark did not expect.
class QuietPrompter : public Prompter {
  public:
    explicit QuietPrompter(QString expected = QStringLiteral("All Folders Loaded"))
        : expected_(std::move(expected)) {}
    int ask(const QString& text, int buttons, const QString&) override {
        if (!text.startsWith(expected_)) {
            std::fprintf(stderr, "message: %s\n", qPrintable(text));
        }
        const int kind = buttons & 7;
        return kind == YesNo || kind == YesNoCancel ? Yes : Ok;
    }

  private:
    QString expected_;
};

// The windows the logic would show: none, as for tidyfold-clean.
using NoWindow = cli::NoWindow;

// Opens the stores of one store file.
class StoresFrom : public ApplicationSource {
  public:
    explicit StoresFrom(QString path) : path_(std::move(path)) {}
    outlook::ApplicationPtr GetObject() override { return nullptr; }
    outlook::ApplicationPtr CreateObject() override {
        return std::make_shared<outlook::SessionApplication>(store::local::openLocalStores(path_));
    }

  private:
    QString path_;
};

}  // namespace tf::bench
