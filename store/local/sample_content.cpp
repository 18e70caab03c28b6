#include "store/local/sample_content.h"

#include <QStringList>
#include <array>
#include <cmath>
#include <vector>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/local/store_writer.h"

namespace tf::store::local {

namespace {

using namespace tf::outlook;

// A small fast generator of our own, so that a seed gives the same file on every platform.
class Random {
  public:
    explicit Random(quint64 seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 0x632BE59BD9B4E019ULL) {}
    quint64 next() {
        quint64 z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<quint64>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    double fraction() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }
    template <typename T, std::size_t N>
    const T& pick(const std::array<T, N>& from) {
        return from[static_cast<std::size_t>(below(static_cast<int>(N)))];
    }

  private:
    quint64 state_;
};

const std::array<QString, 18> kSenders = {
    QStringLiteral("José Müller"),
    QStringLiteral("Zoë Saldaña"),
    QStringLiteral("李雷"),
    QStringLiteral("Ann Jensen"),
    QStringLiteral("Björn Ødegaard"),
    QStringLiteral("François Lefèvre"),
    QStringLiteral("Amazon.com"),
    QStringLiteral("GitHub"),
    QStringLiteral("Mary O'Brien"),
    QStringLiteral("Анна Петрова"),
    QStringLiteral("Dr. Peter Smith"),
    QStringLiteral("IT Helpdesk"),
    QStringLiteral("Mehmet Öztürk"),
    QStringLiteral("山田太郎"),
    QStringLiteral("Weekly Digest"),
    QStringLiteral("Chloé Dubois"),
    QStringLiteral("Łukasz Wójcik"),
    QStringLiteral("Sam Taylor"),
};

const std::array<QString, 16> kMailSubjects = {
    QStringLiteral("Re: Quarterly report"),
    QStringLiteral("Invoice %1"),
    QStringLiteral("Meeting notes"),
    QStringLiteral("Lunch on Friday?"),
    QStringLiteral("Your order #%1 has shipped"),
    QStringLiteral("Weekly newsletter"),
    QStringLiteral("Fwd: Holiday photos"),
    QStringLiteral("Apollo status update"),
    QStringLiteral("Password reset request"),
    QStringLiteral("Budget %1 draft"),
    QStringLiteral("Welcome to the team!"),
    QStringLiteral("Re: Re: Contract changes"),
    QStringLiteral("Receipt for your payment"),
    QStringLiteral("Café menu für nächste Woche"),
    QStringLiteral("Server maintenance tonight"),
    QString(),
};

const std::array<QString, 10> kSentences = {
    QStringLiteral("Please find the details below."),
    QStringLiteral("Let me know what you think."),
    QStringLiteral("Thanks again for your help last week."),
    QStringLiteral("The numbers look better than expected."),
    QStringLiteral("Can we move this to Thursday afternoon?"),
    QStringLiteral("Attached is the latest version of the document."),
    QStringLiteral("Grüße aus München und bis bald."),
    QStringLiteral("I will be out of the office until Monday."),
    QStringLiteral("This message was sent automatically; please do not reply."),
    QStringLiteral("See you at the meeting."),
};

const std::array<QString, 8> kMeetings = {
    QStringLiteral("Project kick-off"), QStringLiteral("Dentist"),
    QStringLiteral("Team stand-up"),    QStringLiteral("Quarterly review"),
    QStringLiteral("Lunch with Zoë"),   QStringLiteral("Flight to Zürich"),
    QStringLiteral("Budget planning"),  QStringLiteral("1:1 with manager"),
};

const std::array<QString, 8> kTasks = {
    QStringLiteral("File tax return"),         QStringLiteral("Renew passport"),
    QStringLiteral("Prepare slides"),          QStringLiteral("Call the plumber"),
    QStringLiteral("Review pull request"),     QStringLiteral("Book hotel in Kraków"),
    QStringLiteral("Update the budget sheet"), QStringLiteral("Send birthday card"),
};

// The folders items go to.
enum FolderKey {
    kInbox,
    kApollo,
    kReceipts,
    kSent,
    kDrafts,
    kOutbox,
    kArchive2019,
    kOldInbox,
    kCalendar,
    kContacts,
    kTasksFolder,
    kNotes,
    kJournal,
    kDeleted,
    kFolderKeyCount
};

// What kind of item to make; the first items of each store walk kShowcase so that even a small
// store holds every class.
struct Kind {
    FolderKey folder;
    long itemClass;
};

const std::array<Kind, 31> kShowcase = {{
    {kInbox, olMail},
    {kInbox, olMail},
    {kApollo, olMail},
    {kReceipts, olMail},
    {kArchive2019, olMail},
    {kOldInbox, olMail},
    {kSent, olMail},
    {kDrafts, olMail},
    {kCalendar, olAppointment},
    {kContacts, olContact},
    {kContacts, olDistributionList},
    {kTasksFolder, olTask},
    {kTasksFolder, olTask},
    {kTasksFolder, olTask},
    {kNotes, olNote},
    {kJournal, olJournal},
    {kInbox, olMeetingRequest},
    {kInbox, olMeetingCancellation},
    {kInbox, olMeetingResponseNegative},
    {kInbox, olMeetingResponsePositive},
    {kInbox, olMeetingResponseTentative},
    {kInbox, olTaskRequest},
    {kInbox, olTaskRequestUpdate},
    {kInbox, olTaskRequestAccept},
    {kInbox, olTaskRequestDecline},
    {kInbox, olPost},
    {kInbox, olReport},
    {kDeleted, olMail},
    {kDeleted, olAppointment},
    {kDeleted, olTask},
    {kOutbox, olMail},
}};

// Weights (per mille) of the kinds after the showcase.
struct Weighted {
    int weight;
    Kind kind;
};
const std::array<Weighted, 18> kMix = {{
    {330, {kInbox, olMail}},
    {50, {kApollo, olMail}},
    {50, {kReceipts, olMail}},
    {100, {kSent, olMail}},
    {10, {kDrafts, olMail}},
    {5, {kOutbox, olMail}},
    {80, {kArchive2019, olMail}},
    {40, {kOldInbox, olMail}},
    {80, {kCalendar, olAppointment}},
    {55, {kContacts, olContact}},
    {5, {kContacts, olDistributionList}},
    {50, {kTasksFolder, olTask}},
    {30, {kNotes, olNote}},
    {30, {kJournal, olJournal}},
    {50, {kInbox, olMeetingRequest}},
    {15, {kInbox, olTaskRequest}},
    {10, {kInbox, olPost}},
    {10, {kDeleted, olMail}},
}};

class Generator {
  public:
    Generator(const SampleOptions& options, double now) : random_(options.seed), now_(now) {}

    Kind mixed() {
        int roll = random_.below(1000);
        for (const Weighted& w : kMix) {
            if (roll < w.weight) {
                return w.kind;
            }
            roll -= w.weight;
        }
        return kMix[0].kind;
    }

    // A class of the same family, so that "meeting messages" cover 53 to 57.
    long vary(long itemClass) {
        if (itemClass == olMeetingRequest) {
            return olMeetingRequest + random_.below(5);
        }
        if (itemClass == olTaskRequest) {
            return olTaskRequest + random_.below(4);
        }
        if (itemClass == olPost && random_.chance(50)) {
            return olReport;
        }
        return itemClass;
    }

    ItemData make(const Kind& kind, qint64 number) {
        ItemData item;
        item.itemClass = kind.itemClass;
        // Spread over ten years before now, with the time of day.
        const double when = now_ - random_.below(3650) - random_.fraction();
        item.modified = when + random_.fraction() * 0.1;
        item.body = body();
        switch (kind.itemClass) {
            case olMail:
            case olPost:
            case olReport:
                item.sender = kind.itemClass == olReport ? QStringLiteral("System Administrator")
                                                         : random_.pick(kSenders);
                item.subject = mailSubject(number);
                if (kind.itemClass == olReport) {
                    item.subject = QStringLiteral("Undeliverable: ") + item.subject;
                }
                item.received = when;
                // Recent mail in the inbox is often unread; old mail mostly read.
                item.unread = random_.chance(when > now_ - 60 ? 60 : 12);
                if (kind.folder == kDrafts || kind.folder == kSent || kind.folder == kOutbox) {
                    item.unread = false;
                }
                break;
            case olAppointment:
                item.subject = random_.pick(kMeetings);
                item.received = when;  // the start, kept where an appointment has no other use
                item.end = when + (1 + random_.below(8)) / 24.0;
                break;
            case olContact:
                item.subject = random_.pick(kSenders);
                break;
            case olDistributionList:
                item.subject = QStringLiteral("Team %1").arg(random_.pick(kMeetings));
                item.body = random_.pick(kSenders) + QStringLiteral("; ") + random_.pick(kSenders);
                break;
            case olTask:
                item.subject = random_.pick(kTasks);
                if (random_.chance(65)) {
                    item.due = std::floor(when) + random_.below(30);
                }
                if (random_.chance(35)) {
                    item.completed = std::floor(when) + random_.below(20);
                }
                break;
            case olNote:
                item.subject = item.body.section(QLatin1Char('.'), 0, 0);
                break;
            case olJournal:
                item.subject = QStringLiteral("Phone call with %1").arg(random_.pick(kSenders));
                item.end = when + (5 + random_.below(55)) / 1440.0;
                break;
            default:
                if (kind.itemClass >= olMeetingRequest && kind.itemClass <= 57) {
                    static const std::array<QString, 5> prefixes = {
                        QString(), QStringLiteral("Canceled: "), QStringLiteral("Declined: "),
                        QStringLiteral("Accepted: "), QStringLiteral("Tentative: ")};
                    item.sender = random_.pick(kSenders);
                    item.subject =
                        prefixes[static_cast<std::size_t>(kind.itemClass - olMeetingRequest)] +
                        random_.pick(kMeetings);
                    item.received = when;
                    item.unread = random_.chance(when > now_ - 60 ? 60 : 12);
                } else {
                    static const std::array<QString, 4> prefixes = {
                        QStringLiteral("Task Request: "), QStringLiteral("Task Updated: "),
                        QStringLiteral("Task Accepted: "), QStringLiteral("Task Declined: ")};
                    item.sender = random_.pick(kSenders);
                    item.subject =
                        prefixes[static_cast<std::size_t>(kind.itemClass - olTaskRequest)] +
                        random_.pick(kTasks);
                    if (random_.chance(70)) {
                        item.due = std::floor(when) + random_.below(30);
                    }
                    item.unread = random_.chance(30);
                }
                break;
        }
        return item;
    }

    Random& random() { return random_; }

  private:
    QString mailSubject(qint64 number) {
        const QString& subject = random_.pick(kMailSubjects);
        return subject.contains(QLatin1String("%1")) ? subject.arg(1000 + number % 9000) : subject;
    }

    QString body() {
        if (random_.chance(5)) {
            return {};
        }
        QString text = random_.pick(kSentences);
        const int more = random_.below(3);
        for (int i = 0; i < more; ++i) {
            text += QLatin1Char(' ') + random_.pick(kSentences);
        }
        return text;
    }

    Random random_;
    double now_;
};

struct StoreFolders {
    std::array<qint64, kFolderKeyCount> ids{};
};

StoreFolders addFolders(StoreWriter& writer, qint64 top) {
    StoreFolders f;
    f.ids[kCalendar] =
        writer.addFolder(top, QStringLiteral("Calendar"), olAppointmentItem, olFolderCalendar);
    f.ids[kContacts] =
        writer.addFolder(top, QStringLiteral("Contacts"), olContactItem, olFolderContacts);
    f.ids[kDeleted] =
        writer.addFolder(top, QStringLiteral("Deleted Items"), olMailItem, olFolderDeletedItems);
    f.ids[kDrafts] = writer.addFolder(top, QStringLiteral("Drafts"), olMailItem, olFolderDrafts);
    f.ids[kInbox] = writer.addFolder(top, QStringLiteral("Inbox"), olMailItem, olFolderInbox);
    f.ids[kJournal] =
        writer.addFolder(top, QStringLiteral("Journal"), olJournalItem, olFolderJournal);
    f.ids[kNotes] = writer.addFolder(top, QStringLiteral("Notes"), olNoteItem, olFolderNotes);
    f.ids[kOutbox] = writer.addFolder(top, QStringLiteral("Outbox"), olMailItem, olFolderOutbox);
    f.ids[kSent] =
        writer.addFolder(top, QStringLiteral("Sent Items"), olMailItem, olFolderSentMail);
    f.ids[kTasksFolder] = writer.addFolder(top, QStringLiteral("Tasks"), olTaskItem, olFolderTasks);

    const qint64 projects = writer.addFolder(f.ids[kInbox], QStringLiteral("Projects"), olMailItem);
    f.ids[kApollo] = writer.addFolder(projects, QStringLiteral("Apollo"), olMailItem);
    writer.addFolder(projects, QStringLiteral("Gemini"), olMailItem);
    f.ids[kReceipts] = writer.addFolder(f.ids[kInbox], QStringLiteral("Receipts"), olMailItem);
    writer.addFolder(f.ids[kCalendar], QStringLiteral("Holidays"), olAppointmentItem);
    writer.addFolder(f.ids[kContacts], QStringLiteral("Suppliers"), olContactItem);
    const qint64 archive = writer.addFolder(top, QStringLiteral("Archive"), olMailItem);
    f.ids[kArchive2019] = writer.addFolder(archive, QStringLiteral("2019"), olMailItem);
    writer.addFolder(archive, QStringLiteral("2020"), olMailItem);
    const qint64 oldMail = writer.addFolder(archive, QStringLiteral("Old Mail"), olMailItem);
    // A folder of the user's that shares a standard folder's name, deeper in the tree.
    f.ids[kOldInbox] = writer.addFolder(oldMail, QStringLiteral("Inbox"), olMailItem);
    return f;
}

QString storeName(int index) {
    switch (index) {
        case 0:
            return QStringLiteral("Personal Folders");
        case 1:
            return QStringLiteral("Archive Folders");
        default:
            return QStringLiteral("Personal Folders (%1)").arg(index + 1);
    }
}

}  // namespace

void writeSampleStoreFile(const QString& path, const SampleOptions& options) {
    if (options.stores < 1) {
        throw Failure(err::kInvalidArgument,
                      QStringLiteral("A store file needs at least one store."));
    }
    const qint64 total = options.items < 0 ? kDefaultItemsPerStore * options.stores : options.items;
    const QDateTime now = options.now.isValid() ? options.now : QDateTime::currentDateTime();
    Generator generator(options, toOleDate(now));
    StoreWriter writer(path);
    qint64 number = 0;
    for (int s = 0; s < options.stores; ++s) {
        const qint64 top = writer.addStore(
            s == 0 && !options.firstStoreName.isEmpty() ? options.firstStoreName : storeName(s));
        const StoreFolders folders = addFolders(writer, top);
        const qint64 count = total / options.stores + (s < total % options.stores ? 1 : 0);
        for (qint64 i = 0; i < count; ++i, ++number) {
            Kind kind = i < static_cast<qint64>(kShowcase.size())
                            ? kShowcase[static_cast<std::size_t>(i)]
                            : generator.mixed();
            if (i >= static_cast<qint64>(kShowcase.size())) {
                kind.itemClass = generator.vary(kind.itemClass);
            }
            writer.addItem(folders.ids[kind.folder], generator.make(kind, number));
        }
    }
    writer.finish();
}

}  // namespace tf::store::local
