// tidyfold-bench imap [--messages N] [--moves M] [--dir DIR] [--scan-only] [--cold]
// Fills private Dovecots on 127.0.0.1 with N messages in twenty folders (written as Maildir files
// before the server starts, then indexed by the server once, outside the figures). Through the
// store: scans every message's listed fields, moves M messages (16,000 at most, spread evenly
// over the folders) to Deleted Items in one change group, then deletes every second remaining
// message for good. A raw client over the same library gives the floor on a second server: one
// FETCH per chunk, one UID MOVE and one UID STORE plus UID EXPUNGE per folder, of the same UIDs.
// Where imapfilter is installed it does the same selection on a third server. The store's scan
// and clean are then measured again through a proxy that adds 25 ms each way, with the round
// trips it saw. --scan-only fills one server and measures only the store's scan and its memory;
// --cold leaves the servers' caches empty, so every client's scan also pays for the server
// reading each message's file.
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <set>
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
// Unless cold, another client has also read the listed fields once, as every mail program reads
// them, so the server has them in its cache rather than in 100,000 files.
std::unique_ptr<testing::DovecotServer> filledServer(const QString& dir, qint64 messages,
                                                     bool cold) {
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
        const auto selected = warm->select(name);
        for (std::uint32_t first = 1; !cold && first <= selected.exists; first += 5000) {
            warm->fetchHeaders(first, std::min<std::uint32_t>(selected.exists, first + 4999),
                               kFields);
        }
    }
    return server;
}

// Writes what the system still holds for the disk, so that one client's figures do not pay for
// the files written for the next server.
void settle() {
    ::sync();
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
    long scanCommands = 0;
    long cleanCommands = 0;
};

// Which messages the run changes, the same for every client: in each of the twenty folders,
// every third message (3rd, 6th, ...) up to movesPerFolder goes to Deleted Items; then of what
// is left, the last and every second one before it is deleted for good.
struct Selection {
    long movesPerFolder = 0;
    bool scanOnly = false;
};

bool isCleaned(const outlook::FolderPtr& folder) {
    return folder->Parent() != nullptr && folder->Name() != QLatin1String("Deleted Items");
}

// The window's scan over every folder, then the run: the moves in one change group, then the
// deletions in another, a folder at a time.
Clean throughTheStore(quint16 port, const Selection& selection,
                      const std::function<void()>& afterScan = {}) {
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
            const bool cleaned = isCleaned(folder);
            long picked = 0;
            for (long i = 1; i <= count; ++i) {
                outlook::ItemPtr item = items->Item(i);
                chars += item->Subject().size() + item->EntryID().size() +
                         utils.HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME).size();
                chars += item->UnRead() ? 1 : 0;
                if (cleaned && i % 3 == 0 && picked < selection.movesPerFolder) {
                    toMove.push_back(item->EntryID());
                    ++picked;
                }
            }
        }
    });
    figures.scanCommands = store::imap::imapCommandsSent(store);
    if (chars == 0) {
        std::fprintf(stderr, "nothing was read\n");
    }
    if (selection.scanOnly) {
        return figures;
    }
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
            if (!isCleaned(folder)) {
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
    figures.cleanCommands = store::imap::imapCommandsSent(store) - figures.scanCommands;
    return figures;
}

// The floor: the same work in as few commands as the server allows.
Clean rawClient(quint16 port, const Selection& selection) {
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
        // Deleted Items is listed too, as the window lists every folder.
        const auto trash = connection->select("Trash");
        if (trash.exists > 0) {
            connection->fetchHeaders(1, trash.exists, kFields);
        }
    });
    figures.scanCommands = connection->commands();
    figures.move = bench::seconds([&] {
        for (std::size_t f = 0; f < mailboxNames().size(); ++f) {
            UidList chosen;
            for (std::size_t i = 2;
                 i < uids[f].size() && static_cast<long>(chosen.size()) < selection.movesPerFolder;
                 i += 3) {
                chosen.push_back(uids[f][i]);
            }
            if (chosen.empty()) {
                continue;
            }
            connection->select(mailboxNames()[f]);
            connection->move(chosen, "Trash");
            figures.changed += static_cast<long>(chosen.size());
            const std::set<Uid> moved(chosen.begin(), chosen.end());
            std::erase_if(uids[f], [&](Uid u) { return moved.count(u) != 0; });
        }
    });
    figures.remove = bench::seconds([&] {
        for (std::size_t f = 0; f < mailboxNames().size(); ++f) {
            UidList chosen;
            for (std::size_t i = uids[f].size(); i >= 1; i -= std::min<std::size_t>(i, 2)) {
                chosen.push_back(uids[f][i - 1]);
            }
            if (chosen.empty()) {
                continue;
            }
            connection->select(mailboxNames()[f]);
            connection->markDeleted(chosen);
            connection->expunge(chosen);
            figures.changed += static_cast<long>(chosen.size());
        }
    });
    figures.cleanCommands = connection->commands() - figures.scanCommands;
    return figures;
}

// imapfilter, when installed, does the same selection its own way: a search of each folder,
// then its move (or delete) of the chosen UIDs. The password reaches it through its
// environment, never its command line.
const char* const kImapfilterConfig = R"lua(
options.timeout = 600
options.info = false
options.expunge = true
options.create = false
options.subscribe = false
options.certificates = false

local account = IMAP {
  server = '127.0.0.1',
  port = tonumber(os.getenv('BENCH_PORT')),
  username = os.getenv('BENCH_USER'),
  password = os.getenv('BENCH_PASSWORD'),
}
local mode = os.getenv('BENCH_MODE')
local perFolder = tonumber(os.getenv('BENCH_MOVES_PER_FOLDER'))
local changed = 0
for name in string.gmatch(os.getenv('BENCH_FOLDERS'), '[^,]+') do
  local all = account[name]:select_all()
  table.sort(all, function(a, b) return a[2] < b[2] end)
  local chosen = {}
  if mode == 'move' then
    for i = 3, #all, 3 do
      if #chosen >= perFolder then break end
      chosen[#chosen + 1] = all[i]
    end
    account[name]:move_messages(account['Trash'], chosen)
  elseif mode == 'delete' then
    for i = #all, 1, -2 do chosen[#chosen + 1] = all[i] end
    account[name]:delete_messages(chosen)
  end
  changed = changed + #chosen
end
print('changed ' .. changed)
)lua";

bool imapfilterInstalled() {
    return !QStandardPaths::findExecutable(QStringLiteral("imapfilter")).isEmpty();
}

// Runs imapfilter in one mode; returns its wall time and how many messages it changed.
std::pair<double, long> runImapfilter(const QString& dir, quint16 port, const QString& mode,
                                      const Selection& selection) {
    const QString config = QDir(dir).filePath(QStringLiteral("imapfilter.lua"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(kImapfilterConfig) < 0) {
        throw Failure(err::kInternal, QStringLiteral("Cannot write %1.").arg(config));
    }
    file.close();
    QStringList folders;
    for (const QByteArray& name : mailboxNames()) {
        folders << QString::fromLatin1(name);
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), dir);  // its ~/.imapfilter, away from the user's
    environment.insert(QStringLiteral("BENCH_PORT"), QString::number(port));
    environment.insert(QStringLiteral("BENCH_USER"), accountAt(port).user);
    environment.insert(QStringLiteral("BENCH_PASSWORD"), QStringLiteral("secret"));
    environment.insert(QStringLiteral("BENCH_MODE"), mode);
    environment.insert(QStringLiteral("BENCH_MOVES_PER_FOLDER"),
                       QString::number(selection.movesPerFolder));
    environment.insert(QStringLiteral("BENCH_FOLDERS"), folders.join(QLatin1Char(',')));
    QProcess process;
    process.setProcessEnvironment(environment);
    long changed = 0;
    const double took = bench::seconds([&] {
        process.start(QStringLiteral("imapfilter"), {QStringLiteral("-c"), config});
        process.waitForFinished(-1);
    });
    const QByteArray out = process.readAllStandardOutput();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !out.startsWith("changed ")) {
        throw Failure(err::kInternal,
                      QStringLiteral("imapfilter (%1) failed: %2")
                          .arg(mode, QString::fromLocal8Bit(process.readAllStandardError())));
    }
    changed = out.mid(8).trimmed().toLong();
    return {took, changed};
}

int run(QStringList args) {
    const bool scanOnly = args.removeAll(QStringLiteral("--scan-only")) > 0;
    const bool cold = args.removeAll(QStringLiteral("--cold")) > 0;
    const bench::Options options(
        args, {QStringLiteral("messages"), QStringLiteral("moves"), QStringLiteral("dir")});
    if (!options.valid()) {
        std::fprintf(stderr, "%s\n", qPrintable(options.error()));
        return 2;
    }
    const qint64 messages = options.number(QStringLiteral("messages"), 10000);
    const long moves = static_cast<long>(
        options.number(QStringLiteral("moves"), std::min<qint64>(16000, messages / 4)));
    Selection selection;
    selection.movesPerFolder = moves / static_cast<long>(mailboxNames().size());
    selection.scanOnly = scanOnly;
    const std::unique_ptr<QTemporaryDir> scratch = bench::scratchWithCache(options);
    QTemporaryDir& dir = *scratch;
    bench::print("messages", static_cast<double>(messages));
    bench::print("server_cache", cold ? QStringLiteral("cold") : QStringLiteral("warm"));

    if (scanOnly) {
        // Only the store's scan, for the memory a large mailbox needs.
        std::unique_ptr<testing::DovecotServer> ours;
        bench::print("generate_s", bench::seconds([&] {
                         ours = filledServer(dir.filePath(QStringLiteral("ours")), messages, cold);
                     }));
        settle();
        const double before = bench::residentMb();
        const Clean mine = throughTheStore(ours->imapPort(), selection);
        bench::print("scan_s", mine.scan);
        bench::print("scan_commands", static_cast<double>(mine.scanCommands));
        bench::print("rss_before_scan_mb", before);
        bench::print("peak_rss_mb", bench::peakRssMb());
        bench::print("peak_rss_bytes_per_message",
                     (bench::peakRssMb() - before) * 1024 * 1024 /
                         static_cast<double>(std::max<qint64>(messages, 1)));
        return 0;
    }

    std::unique_ptr<testing::DovecotServer> ours, floor, wan, peer;
    bench::print("generate_s", bench::seconds([&] {
                     ours = filledServer(dir.filePath(QStringLiteral("ours")), messages, cold);
                     floor = filledServer(dir.filePath(QStringLiteral("floor")), messages, cold);
                     wan = filledServer(dir.filePath(QStringLiteral("wan")), messages, cold);
                     if (imapfilterInstalled()) {
                         peer = filledServer(dir.filePath(QStringLiteral("peer")), messages, cold);
                     }
                 }));

    settle();
    const Clean mine = throughTheStore(ours->imapPort(), selection);
    settle();
    const Clean raw = rawClient(floor->imapPort(), selection);
    bench::print("scan_s", mine.scan);
    bench::print("raw_scan_s", raw.scan);
    bench::print("move_s", mine.move);
    bench::print("raw_move_s", raw.move);
    bench::print("delete_s", mine.remove);
    bench::print("raw_delete_s", raw.remove);
    bench::print("changed", static_cast<double>(mine.changed));
    bench::print("raw_changed", static_cast<double>(raw.changed));
    bench::print("scan_commands", static_cast<double>(mine.scanCommands));
    bench::print("raw_scan_commands", static_cast<double>(raw.scanCommands));
    bench::print("clean_commands", static_cast<double>(mine.cleanCommands));
    bench::print("raw_clean_commands", static_cast<double>(raw.cleanCommands));
    ours.reset();
    floor.reset();

    if (peer) {
        settle();
        const quint16 port = peer->imapPort();
        const auto search = runImapfilter(dir.path(), port, QStringLiteral("search"), selection);
        const auto move = runImapfilter(dir.path(), port, QStringLiteral("move"), selection);
        const auto remove = runImapfilter(dir.path(), port, QStringLiteral("delete"), selection);
        bench::print("imapfilter_search_s", search.first);
        bench::print("imapfilter_move_s", move.first);
        bench::print("imapfilter_delete_s", remove.first);
        bench::print("imapfilter_changed", static_cast<double>(move.second + remove.second));
        peer.reset();
    } else {
        bench::print("imapfilter", QStringLiteral("not installed; no imapfilter figures"));
    }

    settle();
    testing::TcpProxy proxy(wan->imapPort(), std::chrono::milliseconds(25));
    std::int64_t scanTrips = 0;
    const Clean far = throughTheStore(proxy.port(), selection, [&] {
        scanTrips = proxy.roundTrips();
        proxy.resetCounters();
    });
    bench::print("wan_scan_s", far.scan);
    bench::print("wan_scan_round_trips", static_cast<double>(scanTrips));
    bench::print("wan_clean_s", far.move + far.remove);
    bench::print("wan_round_trips", static_cast<double>(proxy.roundTrips()));
    bench::print("wan_changed", static_cast<double>(far.changed));
    bench::print("peak_rss_mb", bench::peakRssMb());
    return 0;
}

const bool registered = bench::addCommand(
    {QStringLiteral("imap"),
     QStringLiteral("[--messages N] [--moves M] [--dir DIR] [--scan-only] [--cold]"),
     [](const QStringList& args) { return run(args); }});

}  // namespace
