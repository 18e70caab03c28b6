#pragma once

#include "outlook/server_account.h"

namespace tf::store::imap {

class TypedPasswords;

// Server accounts as the Open Store dialog describes them, opened over IMAP.
class ImapServerBackend : public outlook::ServerBackend {
  public:
    // typed: where a password typed for opening waits for the sign-in (none: not kept).
    explicit ImapServerBackend(TypedPasswords* typed = nullptr) : typed_(typed) {}
    bool available() const override { return true; }
    QString unavailableReason() const override { return {}; }
    // Signs in with the typed password (or the account's command) and reads the folder list,
    // with every check of a real opening; the reason is the server's or the certificate
    // check's own words.
    outlook::ConnectionTest testConnection(const outlook::ServerAccount& account,
                                           const QString& password) override;
    // imaps://USER@HOST[:PORT] or imap://…, with the account's command as an option.
    QString location(const outlook::ServerAccount& account) const override;
    void keepTypedPassword(const outlook::ServerAccount& account, const QString& password) override;
    void forgetTypedPasswords() override;

  private:
    TypedPasswords* typed_;
};

}  // namespace tf::store::imap
