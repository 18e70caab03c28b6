#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "common/prompter.h"
#include "outlook/application_source.h"
#include "outlook/session.h"
#include "outlook/store_opener.h"
#include "settings/remembered_stores.h"

namespace tf {

// The stores the window has open, where each came from, and which of them are opened at the next
// start. At start the stores named on the command line are opened (for that run only), else the
// remembered ones, else the sample store. A store is open once: the same store named again, by
// another spelling or as a copy, is told about and left out.
class OpenStores : public ApplicationSource {
  public:
    static inline const QString kSampleName = QStringLiteral("Sample Mailbox");

    OpenStores(outlook::StoreOpener& opener, RememberedStores& remembered, QStringList commandLine);

    // ApplicationSource: the command line's or the remembered stores, none when neither names
    // any; starting opens the command line's again or the sample store.
    outlook::ApplicationPtr GetObject() override;
    outlook::ApplicationPtr CreateObject() override;
    QStringList takeStartNotes() override;

    // The window's commands. Each returns true when the open stores changed; the tree is then
    // to be rebuilt. A store that cannot be opened is told about and changes nothing.
    bool open(Prompter& prompter, const QString& location);
    bool openSample(Prompter& prompter);
    // Asks first; refuses to close the last open store, which would leave an empty window.
    bool close(Prompter& prompter, const QString& storeID);

    // "Sample Mailbox - Tidyfold" with one store open, "Tidyfold" otherwise.
    QString title() const;
    // False for a run with stores named on the command line: it leaves the remembered set alone.
    bool remembers() const { return commandLine_.isEmpty(); }

  private:
    struct Entry {
        QString location;  // canonical
        QString name;
        std::vector<outlook::StorePtr> stores;
        // The sample store opened because nothing else was: it gives way to the user's first
        // store of their own and is not remembered.
        bool byDefault = false;
    };
    enum class Outcome { Opened, AlreadyOpen, Failed };

    Outcome add(const QString& location, bool byDefault, QString& message);
    std::vector<outlook::StorePtr> allStores() const;
    QString nameOf(const QString& canonical, const std::vector<outlook::StorePtr>& stores) const;
    outlook::ApplicationPtr openCommandLine();
    outlook::ApplicationPtr session();
    void publish();
    void remember();

    outlook::StoreOpener& opener_;
    RememberedStores& remembered_;
    QStringList commandLine_;
    std::vector<Entry> entries_;
    std::shared_ptr<outlook::Session> session_;
    QStringList notes_;
};

}  // namespace tf
