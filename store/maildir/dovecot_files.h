#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

// The small files Dovecot keeps beside a Maildir++ tree that a change of ours must keep true:
// each folder's keyword names and the root's list of subscribed folders.
namespace tf::store::maildir {

// A folder's "dovecot-keywords": the keyword that each letter a to z stands for in the names of
// that folder's messages. The same letter can mean another keyword in another folder.
class KeywordTable {
  public:
    // Reads dir/dovecot-keywords again when it has changed since the last read.
    void load(const std::string& dir);
    // The keyword a letter stands for; empty when it stands for none.
    const std::string& nameOf(char letter) const;
    // The letter of a keyword, giving it the first free letter (and writing the file the way
    // Dovecot does: a new file beside it, then a rename) when the folder does not know it yet.
    // 0 when all 26 letters are taken. Throws tf::Failure when the file cannot be written.
    char letterOf(const std::string& name, const std::string& dir);

  private:
    void write(const std::string& dir);

    std::vector<std::string> names_;  // by letter, 'a' first
    timespec mtime_{};
    ino_t inode_ = 0;
    bool read_ = false;
};

// The flag letters of a message moved from one folder to another: the standard (capital) flags as
// they are, and each keyword letter translated through both folders' keyword tables. A letter the
// source folder does not define is dropped, as Dovecot ignores it.
std::string translateFlags(const std::string& flags, const KeywordTable& from, KeywordTable& to,
                           const std::string& toDir);

// Removes the given folders (Maildir++ directory names such as ".Projects.2024") from the root's
// "subscriptions" file, rewriting it through a new file and a rename. Nothing happens when there
// is no such file or it names none of them. Throws tf::Failure when it cannot be rewritten.
void unsubscribe(const std::string& root, const std::vector<std::string>& dirNames);

}  // namespace tf::store::maildir
