#include "app/open_stores.h"

#include <algorithm>
#include <exception>

#include "common/failure.h"

namespace tf {

namespace {

QString couldNotOpen(const QString& store, const QString& reason) {
    return QStringLiteral("The store \"%1\" could not be opened.\r\n\r\n%2").arg(store, reason);
}

QString topName(const outlook::StorePtr& store) {
    try {
        return store->TopFolder()->Name();
    } catch (const std::exception&) {
        // A store whose top folder cannot be read is still named by where it lives.
        return store->location();
    }
}

}  // namespace

OpenStores::OpenStores(outlook::StoreOpener& opener, RememberedStores& remembered,
                       QStringList commandLine)
    : opener_(opener), remembered_(remembered), commandLine_(std::move(commandLine)) {}

OpenStores::Outcome OpenStores::add(const QString& location, bool byDefault, QString& message) {
    const QString canonical = opener_.canonical(location);
    for (const Entry& entry : entries_) {
        if (entry.location == canonical) {
            message = QStringLiteral("%1 is already open as \"%2\".").arg(location, entry.name);
            return Outcome::AlreadyOpen;
        }
    }
    std::vector<outlook::StorePtr> opened;
    try {
        opened = opener_.open(location);
    } catch (const Failure& failure) {
        message = couldNotOpen(location, failure.description());
        return Outcome::Failed;
    } catch (const std::exception& failure) {
        message = couldNotOpen(location, QString::fromLocal8Bit(failure.what()));
        return Outcome::Failed;
    }
    const std::vector<outlook::StorePtr> known = allStores();
    for (const outlook::StorePtr& store : opened) {
        // A copied store file carries its original's StoreIDs: the tree would hold one key twice.
        if (const outlook::StorePtr same = outlook::sameStore(known, *store)) {
            const auto owner = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) {
                return std::find(e.stores.begin(), e.stores.end(), same) != e.stores.end();
            });
            message = QStringLiteral("%1 is already open as \"%2\".")
                          .arg(location, owner != entries_.end() ? owner->name : topName(same));
            return Outcome::AlreadyOpen;
        }
    }
    if (opened.empty()) {
        message = couldNotOpen(location, QStringLiteral("It holds no store."));
        return Outcome::Failed;
    }
    entries_.push_back(Entry{canonical, nameOf(canonical, opened), std::move(opened), byDefault});
    return Outcome::Opened;
}

QString OpenStores::nameOf(const QString& canonical,
                           const std::vector<outlook::StorePtr>& stores) const {
    if (canonical == opener_.canonical(opener_.sampleLocation())) {
        return kSampleName;
    }
    QStringList names;
    for (const outlook::StorePtr& store : stores) {
        names << topName(store);
    }
    return names.join(QStringLiteral(", "));
}

std::vector<outlook::StorePtr> OpenStores::allStores() const {
    std::vector<outlook::StorePtr> stores;
    for (const Entry& entry : entries_) {
        stores.insert(stores.end(), entry.stores.begin(), entry.stores.end());
    }
    return stores;
}

outlook::ApplicationPtr OpenStores::session() {
    auto application = std::make_shared<outlook::SessionApplication>(allStores());
    session_ = application->session();
    return application;
}

outlook::ApplicationPtr OpenStores::openCommandLine() {
    entries_.clear();
    QStringList duplicates;
    for (const QString& location : commandLine_) {
        QString message;
        switch (add(location, false, message)) {
            case Outcome::Opened:
                break;
            case Outcome::AlreadyOpen:
                duplicates << message;
                break;
            case Outcome::Failed:
                // The user named these stores: another store's folders instead would invite
                // cleaning the wrong mail.
                entries_.clear();
                throw Failure(err::kFileNotFound, message);
        }
    }
    // Attaching and starting both open the command line's stores; its duplicates are told once.
    notes_ = duplicates;
    return session();
}

outlook::ApplicationPtr OpenStores::GetObject() {
    if (!commandLine_.isEmpty()) {
        return openCommandLine();
    }
    entries_.clear();
    notes_.clear();
    const std::optional<QList<RememberedStore>> remembered = remembered_.load();
    if (!remembered || remembered->isEmpty()) {
        return nullptr;
    }
    bool dropped = false;
    for (const RememberedStore& store : *remembered) {
        QString message;
        switch (add(store.location, false, message)) {
            case Outcome::Opened:
                break;
            case Outcome::AlreadyOpen:
                notes_ << message;
                dropped = true;
                break;
            case Outcome::Failed:
                // Left out of the next start as well, so that the stores in the tree and the
                // remembered ones stay the same list.
                notes_ << couldNotOpen(store.name.isEmpty() ? store.location : store.name,
                                       message.section(QStringLiteral("\r\n\r\n"), 1)) +
                              QStringLiteral(
                                  "\r\n\r\nIt is no longer opened at start; File > "
                                  "Open Store opens it again.");
                dropped = true;
                break;
        }
    }
    if (dropped) {
        remember();
    }
    return entries_.empty() ? nullptr : session();
}

outlook::ApplicationPtr OpenStores::CreateObject() {
    if (!commandLine_.isEmpty()) {
        return openCommandLine();
    }
    entries_.clear();
    QString message;
    if (add(opener_.sampleLocation(), true, message) != Outcome::Opened) {
        throw Failure(err::kFileNotFound, message);
    }
    return session();
}

QStringList OpenStores::takeStartNotes() {
    return std::exchange(notes_, {});
}

bool OpenStores::open(Prompter& prompter, const QString& location) {
    // The sample store stood in for the user's own stores: it makes way for the first of them.
    std::vector<Entry> standIns;
    std::erase_if(entries_, [&](Entry& entry) {
        if (entry.byDefault && entry.location != opener_.canonical(location)) {
            standIns.push_back(std::move(entry));
            return true;
        }
        return false;
    });
    QString message;
    if (add(location, false, message) != Outcome::Opened) {
        entries_.insert(entries_.begin(), std::make_move_iterator(standIns.begin()),
                        std::make_move_iterator(standIns.end()));
        prompter.tell(message);
        return false;
    }
    remember();
    publish();
    return true;
}

bool OpenStores::openSample(Prompter& prompter) {
    const QString sample = opener_.canonical(opener_.sampleLocation());
    for (Entry& entry : entries_) {
        if (entry.location == sample && entry.byDefault) {
            // Open already, in its own right from now on.
            entry.byDefault = false;
            remember();
            return false;
        }
    }
    return open(prompter, opener_.sampleLocation());
}

bool OpenStores::close(Prompter& prompter, const QString& storeID) {
    const auto entry = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) {
        return std::any_of(e.stores.begin(), e.stores.end(),
                           [&](const outlook::StorePtr& s) { return s->StoreID() == storeID; });
    });
    if (entry == entries_.end()) {
        return false;
    }
    if (entries_.size() == 1) {
        prompter.tell(QStringLiteral("\"%1\" is the only open store. Open another store before "
                                     "closing this one.")
                          .arg(entry->name));
        return false;
    }
    QString question = QStringLiteral(
                           "Close the store \"%1\"?\r\n\r\nIts folders leave the tree and it is no "
                           "longer opened at start. Nothing in the store is changed.")
                           .arg(entry->name);
    if (entry->stores.size() > 1) {
        question += QStringLiteral("\r\n\r\nThe %1 stores of %2 close together.")
                        .arg(entry->stores.size())
                        .arg(entry->location);
    }
    if (prompter.ask(question, Prompter::YesNo, QStringLiteral("Close Store")) != Prompter::Yes) {
        return false;
    }
    entries_.erase(entry);
    remember();
    publish();
    return true;
}

QString OpenStores::title() const {
    if (entries_.size() == 1 && entries_.front().stores.size() == 1) {
        return entries_.front().name + QStringLiteral(" - Tidyfold");
    }
    return QStringLiteral("Tidyfold");
}

void OpenStores::publish() {
    if (session_) {
        session_->setStores(allStores());
    }
}

void OpenStores::remember() {
    if (!remembers()) {
        return;
    }
    QList<RememberedStore> stores;
    for (const Entry& entry : entries_) {
        if (!entry.byDefault) {
            stores.append({entry.location, entry.name});
        }
    }
    remembered_.save(stores);
}

}  // namespace tf
