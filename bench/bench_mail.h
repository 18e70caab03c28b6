#pragma once

#include <QString>
#include <vector>

// The generated Maildir++ tree the Maildir and IMAP benchmarks work on.
namespace tf::bench {

// The tree's folders: the Inbox ("") and nineteen others. The messages are dealt out over them.
std::vector<QString> benchFolderDirs();

// Writes the tree at root, with a Trash: a third of the messages read, sizes like real mail's.
void writeBenchMaildir(const QString& root, qint64 messages);

}  // namespace tf::bench
