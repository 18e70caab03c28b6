#pragma once

#include <QString>

namespace tf {

// What is wrong with a folder offered as a Maildir, in words for the user; empty when it holds
// cur/, new/ and tmp/ and can be opened.
QString maildirProblem(const QString& folder);

// The locations the Open Store dialog's kinds stand for.
QString storeFileLocation(const QString& file);
// name: how the store shows in the tree; empty: after the folder.
QString maildirLocation(const QString& folder, const QString& name);

}  // namespace tf
