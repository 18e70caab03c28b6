#pragma once

#include <map>

#include "store/imap/credentials.h"

namespace tf::testing {

// A keyring in memory that records what it was asked; never the system's.
class FakeKeyring : public store::imap::Keyring {
  public:
    std::optional<store::imap::Secret> password(const store::imap::ImapAccount& account) override {
        ++reads;
        const auto it = entries.find(account.location());
        if (it == entries.end()) {
            return std::nullopt;
        }
        return it->second;
    }
    void remember(const store::imap::ImapAccount& account,
                  const store::imap::Secret& password) override {
        ++writes;
        entries[account.location()] = password;
    }

    std::map<QString, store::imap::Secret> entries;
    int reads = 0;
    int writes = 0;
};

// Gives the same answer to every question and counts them.
class FakePrompt : public store::imap::PasswordPrompt {
  public:
    std::optional<std::pair<store::imap::Secret, bool>> ask(
        const store::imap::ImapAccount& account) override {
        ++asked;
        askedFor = account.location();
        return answer;
    }

    std::optional<std::pair<store::imap::Secret, bool>> answer;
    int asked = 0;
    QString askedFor;
};

}  // namespace tf::testing
