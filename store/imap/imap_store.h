#pragma once

#include <functional>
#include <memory>

#include "outlook/object_model.h"
#include "store/imap/imap_connection.h"
#include "store/imap/imap_location.h"
#include "store/imap/imap_mailboxes.h"

namespace tf::store::imap {

class Keyring;
class PasswordPrompt;

// Opens an IMAP account as one store: signs in (asking keyring and prompt only when the account
// has no command for its secret; a null prompt never asks), reads the folder list and makes the
// Trash folder when there is none. Throws tf::Failure with a message that names the server.
// yield, when given, is called between the chunks of long fetches and between queued commands.
outlook::StorePtr openImapStore(const ImapAccount& account, Keyring* keyring,
                                PasswordPrompt* prompt, std::function<void()> yield = {});

// The same over a connection made by the caller, with the batching given: for tests and the
// benchmark.
outlook::StorePtr openImapStore(std::unique_ptr<ImapConnection> connection, Batching batching,
                                std::function<void()> yield = {});

// Where the EntryIDs of moved messages are kept for an account, in the user's cache folder.
QString movedIdsFile(const ImapAccount& account);

// The commands the store has sent so far (for the benchmark's round-trip count); 0 for a store
// of another kind.
long imapCommandsSent(const outlook::StorePtr& store);

}  // namespace tf::store::imap
