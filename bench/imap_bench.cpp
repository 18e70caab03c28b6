// tidyfold-bench imap [--messages N] [--moves M] [--dir DIR]
// Fills private Dovecots on 127.0.0.1 with N messages in twenty folders (written as Maildir files
// before the server starts, then indexed by the server once, outside the figures). Through the
// store: scans every message's listed fields, moves M messages (16,000 at most) to Deleted Items
// in one change group, then deletes every second remaining message for good. A raw client over
// the same library gives the floor on a second server: one FETCH per chunk, one UID MOVE and one
// UID STORE plus UID EXPUNGE per folder. The store's scan and clean are then measured again on a
// third server through a proxy that adds 25 ms each way, with the round trips it saw.
#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "bench/bench_mail.h"
#include "bench/bench_support.h"
#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/mapi_utils.h"
#include "store/imap/imap_connection.h"
#include "store/imap/imap_store.h"
#include "store/maildir/maildir_writer.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/tcp_proxy.h"

namespace {

using namespace tf;
using store::imap::ImapAccount;
using store::imap::ImapConnection;
using store::imap::Uid;
using store::imap::UidList;

const QByteArray kFields = "FROM SUBJECT DATE";

std::vector<QByteArray> mailboxNames() {
    std::vector<QByteArray> names{"INBOX"};
    for (int i = 1; i < 20; ++i) {
        names.push_back(QStringLiteral("Folder%1").arg(i, 2, 10, QLatin1Char('0')).toLatin1());
    }
    return names;
}

ImapAccount accountAt(quint16 port) {
    ImapAccount account;
    account.user = QStringLiteral("ann");
    account.host = QStringLiteral("127.0.0.1");
    account.port = port;
    account.tls = store::imap::TlsMode::None;
    account.displayName = QStringLiteral("bench");
    return account;
}

std::unique_ptr<ImapConnection> connectTo(quint16 port) {
    return std::make_unique<ImapConnection>(
        accountAt(port), [] { return QByteArray("secret"); }, 120);
}

// A server filled with the messages and indexed once, as a server that has been running is.
std::unique_ptr<testing::DovecotServer> filledServer(const QString& dir, qint64 messages) {
    QDir().mkpath(dir);
    testing::DovecotOptions options;
    auto server = std::make_unique<testing::DovecotServer>(dir, options);
    bench::writeBenchMaildir(server->mailDir(), messages);
    testing::DovecotServer::giveToMailUser(dir + QStringLiteral("/home"));
    QString why;
    if (!server->start(why)) {
        throw Failure(err::kInternal, why);
    }
    auto warm = connectTo(server->imapPort());
    warm->open();
    for (const QByteArray& name : mailboxNames()) {
        warm->forgetSelection();
        warm->select(name);
    }
    return server;
}

void collectFolders(const outlook::FolderPtr& folder, std::vector<outlook::FolderPtr>& out) {
    out.push_back(folder);
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        collectFolders(folders->Item(i), out);
    }
}

struct Clean {
    double scan = 0;
    double move = 0;
    double remove = 0;
    long changed = 0;
};

// The window's scan over every folder, then the run: moves spread over the folders in one change
// group, then every second message left deleted for good, a folder at a time.
Clean throughTheStore(quint16 port, long moves, const std::function<void()>& afterScan = {}) {
    Clean figures;
    outlook::StorePtr store;
    std::vector<outlook::FolderPtr> folders;
    const outlook::TidyMAPIUtils utils;
    qint64 chars = 0;
    std::vector<QString> toMove;
    figures.scan = bench::seconds([&] {
        store = store::imap::openImapStore(connectTo(port), store::imap::Batching{});
        collectFolders(store->TopFolder(), folders);
        for (const outlook::FolderPtr& folder : folders) {
            auto items = folder->Items();
            const long count = items->Count();
            for (long i = 1; i <= count; ++i) {
                outlook::ItemPtr item = items->Item(i);
                chars += item->Subject().size() + item->EntryID().size() +
                         utils.HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME).size();
                chars += item->UnRead() ? 1 : 0;
                if (i % 3 == 0 && static_cast<long>(toMove.size()) < moves &&
                    folder->Name() != QLatin1String("Deleted Items")) {
                    toMove.push_back(item->EntryID());
                }
            }
        }
    });
    if (afterScan) {
        afterScan();
    }
    figures.move = bench::seconds([&] {
        store->beginChanges();
        for (const QString& id : toMove) {
            store->GetItemFromID(id)->Delete();
        }
        store->endChanges();
    });
    figures.changed += static_cast<long>(toMove.size());
    figures.remove = bench::seconds([&] {
        store->beginChanges();
        for (const outlook::FolderPtr& folder : folders) {
            if (folder->Name() == QLatin1String("Deleted Items") || folder->Parent() == nullptr) {
                continue;
            }
            auto items = folder->Items();
            for (long i = items->Count(); i >= 1; i -= 2) {
                items->Remove(i);
                ++figures.changed;
            }
        }
        store->endChanges();
    });
    if (chars == 0) {
        std::fprintf(stderr, "nothing was read\n");
    }
    return figures;
}

// The floor: the same work in as few commands as the server allows.
Clean rawClient(quint16 port, long moves, long messages) {
    Clean figures;
    auto connection = connectTo(port);
    std::vector<std::vector<Uid>> uids(mailboxNames().size());
    figures.scan = bench::seconds([&] {
        connection->open();
        connection->list();
        for (std::size_t f = 0; f < mailboxNames().size(); ++f) {
            const auto selected = connection->select(mailboxNames()[f]);
            for (std::uint32_t first = 1; first <= selected.exists; first += 5000) {
                for (const auto& m : connection->fetchHeaders(
                         first, std::min<std::uint32_t>(selected.exists, first + 4999), kFields)) {
                    uids[f].push_back(m.uid);
                }
            }
        }
    });
    // Every third message, as the store's run picks them, up to the same count.
    const long perFolder = std::max<long>(1, moves / static_cast<long>(mailboxNames().size()));
    (void)messages;
    figures.move = bench::seconds([&] {
        for (std::size_t f = 0; f < mailboxNames().size(); ++f) {
            UidList chosen;
            for (std::size_t i = 2;
                 i < uids[f].size() && static_cast<long>(chosen.size()) < perFolder; i += 3) {
                chosen.push_back(uids[f][i]);
            }
            connection->select(mailboxNames()[f]);
            connection->move(chosen, "Trash");
            figures.changed += static_cast<long>(chosen.size());
            for (Uid u : chosen) {
                uids[f].erase(std::find(uids[f].begin(), uids[f].end(), u));
            }
        }
    });
    figures.remove = bench::seconds([&] {
        for (std::size_t f = 0; f < mailboxNames().size(); ++f) {
            UidList chosen;
            for (std::size_t i = 0; i < uids[f].size(); i += 2) {
                chosen.push_back(uids[f][i]);
            }
            connection->select(mailboxNames()[f]);
            connection->markDeleted(chosen);
            connection->expunge(chosen);
            figures.changed += static_cast<long>(chosen.size());
        }
    });
    return figures;
}

int run(const QStringList& args) {
    const bench::Options options(
        args, {QStringLiteral("messages"), QStringLiteral("moves"), QStringLiteral("dir")});
    if (!options.valid()) {
        std::fprintf(stderr, "%s\n", qPrintable(options.error()));
        return 2;
    }
    const qint64 messages = options.number(QStringLiteral("messages"), 10000);
    const long moves = static_cast<long>(
        options.number(QStringLiteral("moves"), std::min<qint64>(16000, messages / 4)));
    const QString base = options.text(
        QStringLiteral("dir"), QStandardPaths::writableLocation(QStandardPaths::TempLocation));
    QTemporaryDir dir(QDir(base).filePath(QStringLiteral("tidyfold-bench-XXXXXX")));
    if (!dir.isValid()) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("Cannot make a folder in %1.").arg(base));
    }
    qputenv("XDG_CACHE_HOME", QFile::encodeName(dir.filePath(QStringLiteral("cache"))));
    bench::print("messages", static_cast<double>(messages));

    std::unique_ptr<testing::DovecotServer> ours, floor, wan;
    bench::print("generate_s", bench::seconds([&] {
                     ours = filledServer(dir.filePath(QStringLiteral("ours")), messages);
                     floor = filledServer(dir.filePath(QStringLiteral("floor")), messages);
                     wan = filledServer(dir.filePath(QStringLiteral("wan")), messages);
                 }));

    const Clean mine = throughTheStore(ours->imapPort(), moves);
    const Clean raw = rawClient(floor->imapPort(), moves, messages);
    bench::print("scan_s", mine.scan);
    bench::print("raw_scan_s", raw.scan);
    bench::print("move_s", mine.move);
    bench::print("raw_move_s", raw.move);
    bench::print("delete_s", mine.remove);
    bench::print("raw_delete_s", raw.remove);
    bench::print("changed", static_cast<double>(mine.changed));
    bench::print("raw_changed", static_cast<double>(raw.changed));
    ours.reset();
    floor.reset();

    testing::TcpProxy proxy(wan->imapPort(), std::chrono::milliseconds(25));
    const Clean far = throughTheStore(proxy.port(), moves, [&] { proxy.resetCounters(); });
    bench::print("wan_scan_s", far.scan);
    bench::print("wan_clean_s", far.move + far.remove);
    bench::print("wan_round_trips", static_cast<double>(proxy.roundTrips()));
    bench::print("wan_changed", static_cast<double>(far.changed));
    bench::print("imapfilter", QStringLiteral("not installed; no imapfilter figures"));
    bench::print("peak_rss_mb", bench::peakRssMb());
    return 0;
}

const bool registered = bench::addCommand(
    {QStringLiteral("imap"), QStringLiteral("[--messages N] [--moves M] [--dir DIR]"), run});

}  // namespace
