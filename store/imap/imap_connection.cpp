#include "store/imap/imap_connection.h"

#include <libetpan/libetpan.h>

#include <QDateTime>
#include <QTimeZone>
#include <algorithm>
#include <cstring>

#include "store/imap/tls_check.h"

namespace tf::store::imap {

namespace {

// Owns what libetpan hands over and frees it with the function that belongs to it.
template <typename T, void (*Free)(T*)>
struct Owned {
    T* p = nullptr;
    Owned() = default;
    explicit Owned(T* pointer) : p(pointer) {}
    ~Owned() {
        if (p != nullptr) {
            Free(p);
        }
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
};

void freeFetchList(clist* list) {
    mailimap_fetch_list_free(list);
}
void freeMailboxList(clist* list) {
    mailimap_list_result_free(list);
}
using FetchList = Owned<clist, freeFetchList>;
using MailboxList = Owned<clist, freeMailboxList>;
using ImapSet = Owned<mailimap_set, mailimap_set_free>;
using FetchType = Owned<mailimap_fetch_type, mailimap_fetch_type_free>;

mailimap_set* setOf(const UidList& uids) {
    mailimap_set* set = mailimap_set_new_empty();
    UidList sorted = uids;
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t i = 0; i < sorted.size();) {
        std::size_t j = i;
        while (j + 1 < sorted.size() && sorted[j + 1] <= sorted[j] + 1) {
            ++j;
        }
        mailimap_set_add_interval(set, sorted[i], sorted[j]);
        i = j + 1;
    }
    return set;
}

// OAUTHBEARER, sent the way libetpan sends XOAUTH2: one command with the initial response. A
// refused token first gets a continuation with the error, which takes the one-byte dummy answer
// before the tagged NO; a plain custom command would wait for that NO forever. Success moves the
// session to the authenticated state, as libetpan's own sign-in calls do.
int authenticateOauthBearer(mailimap* imap, const QByteArray& initialResponse) {
    if (imap->imap_state != MAILIMAP_STATE_NON_AUTHENTICATED) {
        return MAILIMAP_ERROR_BAD_STATE;
    }
    QByteArray command = "AUTHENTICATE OAUTHBEARER " + initialResponse + "\r\n";
    const auto send = [imap](const QByteArray& bytes) {
        return mailstream_write(imap->imap_stream, bytes.constData(),
                                static_cast<size_t>(bytes.size())) == bytes.size() &&
               mailstream_flush(imap->imap_stream) != -1;
    };
    const bool sent = mailimap_send_current_tag(imap) == MAILIMAP_NO_ERROR && send(command);
    command.fill('\0');
    if (!sent) {
        return MAILIMAP_ERROR_STREAM;
    }
    const char* line = mailimap_read_line(imap);
    if (line != nullptr && line[0] == '+') {
        line = send(QByteArrayLiteral("AQ==\r\n")) ? mailimap_read_line(imap) : nullptr;
    }
    if (line == nullptr) {
        return MAILIMAP_ERROR_STREAM;
    }
    mailimap_response* response = nullptr;
    const int parsed = mailimap_parse_response(imap, &response);
    if (parsed != MAILIMAP_NO_ERROR) {
        return parsed;
    }
    const bool ok = response->rsp_resp_done->rsp_type == MAILIMAP_RESP_DONE_TYPE_TAGGED &&
                    response->rsp_resp_done->rsp_data.rsp_tagged->rsp_cond_state->rsp_type ==
                        MAILIMAP_RESP_COND_STATE_OK;
    mailimap_response_free(response);
    if (!ok) {
        return MAILIMAP_ERROR_LOGIN;
    }
    imap->imap_state = MAILIMAP_STATE_AUTHENTICATED;
    return MAILIMAP_NO_ERROR;
}

std::vector<std::pair<Uid, Uid>> intervalsOf(mailimap_set* set) {
    std::vector<std::pair<Uid, Uid>> out;
    if (set == nullptr) {
        return out;
    }
    for (clistiter* it = clist_begin(set->set_list); it != nullptr; it = clist_next(it)) {
        auto* item = static_cast<mailimap_set_item*>(clist_content(it));
        out.emplace_back(item->set_first, item->set_last);
    }
    return out;
}

// The UIDs a set names, in order; "first:last" ranges taken in the order the server wrote them.
UidList uidsOf(mailimap_set* set) {
    UidList out;
    for (auto [first, last] : intervalsOf(set)) {
        if (first <= last) {
            for (Uid u = first; u <= last && u != 0; ++u) {
                out.push_back(u);
            }
        } else {
            for (Uid u = first; u >= last && u != 0; --u) {
                out.push_back(u);
            }
        }
    }
    return out;
}

CopiedUids pairUp(std::uint32_t validity, mailimap_set* source, mailimap_set* dest) {
    CopiedUids copied;
    const UidList from = uidsOf(source);
    const UidList to = uidsOf(dest);
    if (validity != 0 && from.size() == to.size()) {
        copied.uidValidity = validity;
        for (std::size_t i = 0; i < from.size(); ++i) {
            copied.pairs.emplace_back(from[i], to[i]);
        }
    }
    if (source != nullptr) {
        mailimap_set_free(source);
    }
    if (dest != nullptr) {
        mailimap_set_free(dest);
    }
    return copied;
}

qint64 secondsOf(const mailimap_date_time* t) {
    if (t == nullptr) {
        return 0;
    }
    // dt_zone is +HHMM as a number.
    const int zone = t->dt_zone;
    const int offset = (zone / 100) * 3600 + (zone % 100) * 60;
    const QDateTime local(QDate(t->dt_year, t->dt_month, t->dt_day),
                          QTime(t->dt_hour, t->dt_min, t->dt_sec), QTimeZone(offset));
    return local.isValid() ? local.toSecsSinceEpoch() : 0;
}

mailimap_fetch_type* headerFetch(const QByteArray& fields) {
    mailimap_fetch_type* type = mailimap_fetch_type_new_fetch_att_list_empty();
    mailimap_fetch_type_new_fetch_att_list_add(type, mailimap_fetch_att_new_uid());
    mailimap_fetch_type_new_fetch_att_list_add(type, mailimap_fetch_att_new_flags());
    mailimap_fetch_type_new_fetch_att_list_add(type, mailimap_fetch_att_new_internaldate());
    if (!fields.isEmpty()) {
        clist* names = clist_new();
        for (const QByteArray& name : fields.split(' ')) {
            if (!name.isEmpty()) {
                clist_append(names, ::strdup(name.constData()));
            }
        }
        mailimap_section* section =
            mailimap_section_new_header_fields(mailimap_header_list_new(names));
        mailimap_fetch_type_new_fetch_att_list_add(
            type, mailimap_fetch_att_new_body_peek_section(section));
    }
    return type;
}

std::vector<FetchedMessage> messagesOf(clist* result) {
    std::vector<FetchedMessage> out;
    if (result == nullptr) {
        return out;
    }
    out.reserve(static_cast<std::size_t>(clist_count(result)));
    for (clistiter* it = clist_begin(result); it != nullptr; it = clist_next(it)) {
        auto* att = static_cast<mailimap_msg_att*>(clist_content(it));
        FetchedMessage message;
        for (clistiter* a = clist_begin(att->att_list); a != nullptr; a = clist_next(a)) {
            auto* item = static_cast<mailimap_msg_att_item*>(clist_content(a));
            if (item->att_type == MAILIMAP_MSG_ATT_ITEM_DYNAMIC) {
                clist* flags = item->att_data.att_dyn->att_list;
                for (clistiter* f = flags ? clist_begin(flags) : nullptr; f != nullptr;
                     f = clist_next(f)) {
                    auto* flag = static_cast<mailimap_flag_fetch*>(clist_content(f));
                    if (flag->fl_type == MAILIMAP_FLAG_FETCH_OTHER && flag->fl_flag != nullptr &&
                        flag->fl_flag->fl_type == MAILIMAP_FLAG_SEEN) {
                        message.seen = true;
                    }
                }
            } else if (item->att_type == MAILIMAP_MSG_ATT_ITEM_STATIC) {
                mailimap_msg_att_static* s = item->att_data.att_static;
                switch (s->att_type) {
                    case MAILIMAP_MSG_ATT_UID:
                        message.uid = s->att_data.att_uid;
                        break;
                    case MAILIMAP_MSG_ATT_INTERNALDATE:
                        message.internalDate = secondsOf(s->att_data.att_internal_date);
                        break;
                    case MAILIMAP_MSG_ATT_BODY_SECTION:
                        if (s->att_data.att_body_section->sec_body_part != nullptr) {
                            message.headers = QByteArray(
                                s->att_data.att_body_section->sec_body_part,
                                static_cast<qsizetype>(s->att_data.att_body_section->sec_length));
                        }
                        break;
                    default:
                        break;
                }
            }
        }
        if (message.uid != 0) {
            out.push_back(std::move(message));
        }
    }
    return out;
}

QStringList specialUseOf(const mailimap_mbx_list_flags* flags, bool& noSelect) {
    QStringList out;
    noSelect = false;
    if (flags == nullptr) {
        return out;
    }
    if (flags->mbf_type == MAILIMAP_MBX_LIST_FLAGS_SFLAG &&
        flags->mbf_sflag == MAILIMAP_MBX_LIST_SFLAG_NOSELECT) {
        noSelect = true;
    }
    for (clistiter* it = flags->mbf_oflags ? clist_begin(flags->mbf_oflags) : nullptr;
         it != nullptr; it = clist_next(it)) {
        auto* flag = static_cast<mailimap_mbx_list_oflag*>(clist_content(it));
        if (flag->of_type == MAILIMAP_MBX_LIST_OFLAG_FLAG_EXT && flag->of_flag_ext != nullptr) {
            const QString name = QString::fromLatin1(flag->of_flag_ext);
            // A mailbox that does not exist, only its children, holds nothing either.
            if (name.compare(QLatin1String("NonExistent"), Qt::CaseInsensitive) == 0 ||
                name.compare(QLatin1String("Noselect"), Qt::CaseInsensitive) == 0) {
                noSelect = true;
            } else {
                out << name;
            }
        }
    }
    return out;
}

void setServerName(mailstream_ssl_context* context, void* data) {
    mailstream_ssl_set_server_name(context, static_cast<char*>(data));
}

}  // namespace

QByteArray uidSetText(const UidList& uids) {
    QByteArray text;
    ImapSet set(setOf(uids));
    for (auto [first, last] : intervalsOf(set.p)) {
        if (!text.isEmpty()) {
            text += ',';
        }
        text += QByteArray::number(first);
        if (last != first) {
            text += ':' + QByteArray::number(last);
        }
    }
    return text;
}

ImapConnection::ImapConnection(ImapAccount account, SecretSource secret, int timeoutSeconds)
    : account_(std::move(account)), secret_(std::move(secret)), timeoutSeconds_(timeoutSeconds) {}

std::unique_ptr<ImapConnection> ImapConnection::twin() const {
    // Asked for on this thread: the source may talk to the keyring or the window.
    QByteArray secret = secret_();
    return std::make_unique<ImapConnection>(
        account_, [secret = std::move(secret)] { return secret; }, timeoutSeconds_);
}

ImapConnection::~ImapConnection() {
    close();
}

void ImapConnection::close() {
    if (imap_ != nullptr) {
        mailimap_free(imap_);
        imap_ = nullptr;
    }
    selected_.clear();
}

QString ImapConnection::serverSaid() const {
    if (imap_ == nullptr || imap_->imap_response == nullptr) {
        return {};
    }
    return QString::fromUtf8(imap_->imap_response).trimmed();
}

void ImapConnection::check(int result, const QString& what) {
    if (result == MAILIMAP_NO_ERROR || result == MAILIMAP_NO_ERROR_AUTHENTICATED ||
        result == MAILIMAP_NO_ERROR_NON_AUTHENTICATED) {
        return;
    }
    const QString host = account_.host;
    if (result == MAILIMAP_ERROR_STREAM || result == MAILIMAP_ERROR_PARSE ||
        result == MAILIMAP_ERROR_FATAL || result == MAILIMAP_ERROR_BAD_STATE ||
        result == MAILIMAP_ERROR_CONNECTION_REFUSED) {
        // libetpan's state after a broken stream is not to be trusted: start over.
        close();
        throw ConnectionLost(
            QStringLiteral("The connection to the server %1 was lost (%2).").arg(host, what));
    }
    const QString said = serverSaid();
    throw CommandRefused(
        said.isEmpty()
            ? QStringLiteral("The server %1 refused a command (%2).").arg(host, what)
            : QStringLiteral("The server %1 refused a command (%2): %3").arg(host, what, said));
}

void ImapConnection::open() {
    close();
    imap_ = mailimap_new(0, nullptr);
    mailimap_set_timeout(imap_, timeoutSeconds_);
    try {
        connect();
        signIn();
        loadCapabilities();
    } catch (...) {
        close();
        throw;
    }
}

void ImapConnection::connect() {
    const QByteArray host = account_.host.toUtf8();
    ++commands_;
    int result = MAILIMAP_NO_ERROR;
    if (account_.tls == TlsMode::Implicit) {
        result =
            mailimap_ssl_connect_with_callback(imap_, host.constData(), account_.port,
                                               setServerName, const_cast<char*>(host.constData()));
    } else {
        result = mailimap_socket_connect(imap_, host.constData(), account_.port);
    }
    if (result != MAILIMAP_NO_ERROR && result != MAILIMAP_NO_ERROR_AUTHENTICATED &&
        result != MAILIMAP_NO_ERROR_NON_AUTHENTICATED) {
        close();
        imap_ = mailimap_new(0, nullptr);
        throw ConnectionLost(QStringLiteral("The server %1 (port %2) cannot be reached%3.")
                                 .arg(account_.host)
                                 .arg(account_.port)
                                 .arg(result == MAILIMAP_ERROR_SSL
                                          ? QStringLiteral(": the TLS handshake failed")
                                          : QString()));
    }
    if (account_.tls == TlsMode::StartTls) {
        ++commands_;
        loadCapabilities();
        if (!mailimap_has_extension(imap_, const_cast<char*>("STARTTLS"))) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The server %1 does not offer STARTTLS, so the connection "
                                         "could not be encrypted. Nothing was sent. Use "
                                         "imaps:// if the server offers TLS on its own port.")
                              .arg(account_.host));
        }
        ++commands_;
        check(mailimap_socket_starttls_with_callback(imap_, setServerName,
                                                     const_cast<char*>(host.constData())),
              QStringLiteral("STARTTLS"));
    }
    if (account_.tls != TlsMode::None) {
        checkCertificate();
    }
}

void ImapConnection::checkCertificate() {
    std::vector<QByteArray> chain;
    if (carray* certificates = mailstream_get_certificate_chain(imap_->imap_stream)) {
        for (unsigned i = 0; i < carray_count(certificates); ++i) {
            auto* der = static_cast<MMAPString*>(carray_get(certificates, i));
            chain.emplace_back(der->str, static_cast<qsizetype>(der->len));
        }
        mailstream_certificate_chain_free(certificates);
    }
    const TlsVerdict verdict = verifyServerCertificates(chain, account_.host, account_.caFile);
    if (!verdict.trusted) {
        throw Failure(err::kAutomation, untrustedServerMessage(account_.host, verdict));
    }
}

void ImapConnection::signIn() {
    const QByteArray user = account_.user.toUtf8();
    QByteArray secret = secret_();
    struct Wipe {
        QByteArray& bytes;
        ~Wipe() { bytes.fill('\0'); }
    } wipe{secret};
    ++commands_;
    int result = MAILIMAP_NO_ERROR;
    if (account_.signIn() == SignInKind::OAuth2 &&
        account_.oauthMechanism.compare(QLatin1String("OAUTHBEARER"), Qt::CaseInsensitive) == 0) {
        // libetpan knows only XOAUTH2; OAUTHBEARER differs in its first line (RFC 7628).
        QByteArray initial =
            ("n,a=" + user + ",\x01" + "auth=Bearer " + secret + "\x01\x01").toBase64();
        result = authenticateOauthBearer(imap_, initial);
        initial.fill('\0');
    } else if (account_.signIn() == SignInKind::OAuth2) {
        result = mailimap_oauth2_authenticate(imap_, user.constData(), secret.constData());
    } else {
        result = mailimap_login(imap_, user.constData(), secret.constData());
    }
    if (result == MAILIMAP_ERROR_STREAM || result == MAILIMAP_ERROR_PARSE) {
        check(result, QStringLiteral("sign-in"));
    }
    if (result != MAILIMAP_NO_ERROR) {
        // One attempt only: retrying a wrong password can lock the account.
        const QString said = serverSaid();
        throw Failure(
            err::kPermissionDenied,
            QStringLiteral("The server %1 did not accept the %2 for %3%4. Nothing more "
                           "was tried.")
                .arg(account_.host,
                     account_.signIn() == SignInKind::OAuth2 ? QStringLiteral("access token")
                                                             : QStringLiteral("password"),
                     account_.user,
                     said.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(said)));
    }
}

void ImapConnection::loadCapabilities() {
    ++commands_;
    mailimap_capability_data* data = nullptr;
    check(mailimap_capability(imap_, &data), QStringLiteral("capabilities"));
    if (data != nullptr) {
        mailimap_capability_data_free(data);
    }
}

bool ImapConnection::has(const char* capability) const {
    return imap_ != nullptr && mailimap_has_extension(imap_, const_cast<char*>(capability)) != 0;
}

std::vector<ListedMailbox> ImapConnection::list() {
    ++commands_;
    clist* raw = nullptr;
    check(mailimap_list(imap_, "", "*", &raw), QStringLiteral("folder list"));
    MailboxList result(raw);
    std::vector<ListedMailbox> out;
    for (clistiter* it = raw ? clist_begin(raw) : nullptr; it != nullptr; it = clist_next(it)) {
        auto* entry = static_cast<mailimap_mailbox_list*>(clist_content(it));
        ListedMailbox mailbox;
        mailbox.name = QByteArray(entry->mb_name);
        mailbox.delimiter = entry->mb_delimiter;
        mailbox.specialUse = specialUseOf(entry->mb_flag, mailbox.noSelect);
        out.push_back(std::move(mailbox));
    }
    return out;
}

SelectedMailbox ImapConnection::select(const QByteArray& mailbox) {
    if (selected_ != mailbox) {
        ++commands_;
        selected_.clear();
        check(mailimap_select(imap_, mailbox.constData()),
              QStringLiteral("opening the folder \"%1\"").arg(QString::fromUtf8(mailbox)));
        selected_ = mailbox;
    }
    SelectedMailbox info;
    if (mailimap_selection_info* s = imap_->imap_selection_info) {
        info.uidValidity = s->sel_uidvalidity;
        info.exists = s->sel_exists;
        info.uidNext = s->sel_uidnext;
    }
    return info;
}

std::vector<FetchedMessage> ImapConnection::fetchHeaders(std::uint32_t first, std::uint32_t last,
                                                         const QByteArray& fields) {
    ++commands_;
    ImapSet set(mailimap_set_new_interval(first, last));
    FetchType type(headerFetch(fields));
    clist* raw = nullptr;
    check(mailimap_fetch(imap_, set.p, type.p, &raw), QStringLiteral("message list"));
    FetchList result(raw);
    return messagesOf(raw);
}

void ImapConnection::pipeline(const std::vector<QByteArray>& commands, const QString& what,
                              const std::function<void(std::size_t, bool)>& answered) {
    if (commands.empty()) {
        return;
    }
    if (imap_ == nullptr || imap_->imap_stream == nullptr) {
        check(MAILIMAP_ERROR_BAD_STATE, what);
    }
    commands_ += static_cast<long>(commands.size());
    const int firstTag = imap_->imap_tag + 1;
    for (const QByteArray& command : commands) {
        const QByteArray line = command + "\r\n";
        if (mailimap_send_current_tag(imap_) != MAILIMAP_NO_ERROR ||
            mailstream_write(imap_->imap_stream, line.constData(),
                             static_cast<size_t>(line.size())) != line.size()) {
            check(MAILIMAP_ERROR_STREAM, what);
        }
    }
    if (mailstream_flush(imap_->imap_stream) == -1) {
        check(MAILIMAP_ERROR_STREAM, what);
    }
    const int lastTag = imap_->imap_tag;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        // libetpan takes only an answer tagged with the newest tag: name the one due next.
        imap_->imap_tag = firstTag + static_cast<int>(i);
        mailimap_response* response = nullptr;
        const int result = mailimap_read_line(imap_) == nullptr
                               ? MAILIMAP_ERROR_STREAM
                               : mailimap_parse_response(imap_, &response);
        imap_->imap_tag = lastTag;
        if (result == MAILIMAP_ERROR_PROTOCOL) {
            // BAD, or an answer out of turn: what the rest of the line did cannot be told apart.
            const QString said = serverSaid();
            close();
            throw CommandRefused(
                QStringLiteral("The server %1 refused a command (%2)%3")
                    .arg(account_.host, what,
                         said.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + said));
        }
        if (result != MAILIMAP_NO_ERROR) {
            // Whatever broke, the answers still due can no longer be matched to their commands.
            check(MAILIMAP_ERROR_STREAM, what);
        }
        const bool ok = response->rsp_resp_done->rsp_data.rsp_tagged->rsp_cond_state->rsp_type ==
                        MAILIMAP_RESP_COND_STATE_OK;
        try {
            answered(i, ok);
        } catch (...) {
            mailimap_response_free(response);
            close();  // the answers still due would be read as this one's
            throw;
        }
        mailimap_response_free(response);
    }
}

void ImapConnection::fetchHeadersPipelined(
    const std::vector<std::pair<std::uint32_t, std::uint32_t>>& ranges, const QByteArray& fields,
    const std::function<void(std::vector<FetchedMessage>&&)>& each) {
    std::vector<QByteArray> commands;
    const QByteArray items = "(UID FLAGS INTERNALDATE BODY.PEEK[HEADER.FIELDS (" + fields + ")])";
    for (auto [first, last] : ranges) {
        commands.push_back("FETCH " + QByteArray::number(first) + ':' + QByteArray::number(last) +
                           ' ' + items);
    }
    pipeline(commands, QStringLiteral("message list"), [&](std::size_t, bool ok) {
        if (!ok) {
            check(MAILIMAP_ERROR_FETCH, QStringLiteral("message list"));
        }
        FetchList result(imap_->imap_response_info != nullptr
                             ? imap_->imap_response_info->rsp_fetch_list
                             : nullptr);
        if (imap_->imap_response_info != nullptr) {
            imap_->imap_response_info->rsp_fetch_list = nullptr;
        }
        each(messagesOf(result.p));
    });
}

std::vector<FetchedMessage> ImapConnection::fetchHeadersByUid(const UidList& uids,
                                                              const QByteArray& fields) {
    if (uids.empty()) {
        return {};
    }
    ++commands_;
    ImapSet set(setOf(uids));
    FetchType type(headerFetch(fields));
    clist* raw = nullptr;
    check(mailimap_uid_fetch(imap_, set.p, type.p, &raw), QStringLiteral("reading messages"));
    FetchList result(raw);
    return messagesOf(raw);
}

UidList ImapConnection::uidsFrom(Uid first) {
    ++commands_;
    ImapSet set(mailimap_set_new_interval(first, 0));
    FetchType type(mailimap_fetch_type_new_fetch_att(mailimap_fetch_att_new_uid()));
    clist* raw = nullptr;
    check(mailimap_uid_fetch(imap_, set.p, type.p, &raw), QStringLiteral("reading new messages"));
    FetchList result(raw);
    UidList out;
    for (const FetchedMessage& m : messagesOf(raw)) {
        if (m.uid >= first) {
            out.push_back(m.uid);
        }
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<FetchedMessage> ImapConnection::fetchHeadersFrom(Uid first, const QByteArray& fields) {
    ++commands_;
    ImapSet set(mailimap_set_new_interval(first, 0));
    FetchType type(headerFetch(fields));
    clist* raw = nullptr;
    check(mailimap_uid_fetch(imap_, set.p, type.p, &raw), QStringLiteral("reading new messages"));
    FetchList result(raw);
    std::vector<FetchedMessage> out = messagesOf(raw);
    // "first:*" also names the last message when every UID is below first.
    out.erase(std::remove_if(out.begin(), out.end(),
                             [first](const FetchedMessage& m) { return m.uid < first; }),
              out.end());
    return out;
}

QByteArray ImapConnection::fetchMessage(Uid uid) {
    ++commands_;
    ImapSet set(mailimap_set_new_single(uid));
    FetchType type(mailimap_fetch_type_new_fetch_att(
        mailimap_fetch_att_new_body_peek_section(mailimap_section_new(nullptr))));
    clist* raw = nullptr;
    check(mailimap_uid_fetch(imap_, set.p, type.p, &raw), QStringLiteral("reading a message"));
    FetchList result(raw);
    for (clistiter* it = raw ? clist_begin(raw) : nullptr; it != nullptr; it = clist_next(it)) {
        auto* att = static_cast<mailimap_msg_att*>(clist_content(it));
        for (clistiter* a = clist_begin(att->att_list); a != nullptr; a = clist_next(a)) {
            auto* item = static_cast<mailimap_msg_att_item*>(clist_content(a));
            if (item->att_type == MAILIMAP_MSG_ATT_ITEM_STATIC &&
                item->att_data.att_static->att_type == MAILIMAP_MSG_ATT_BODY_SECTION &&
                item->att_data.att_static->att_data.att_body_section->sec_body_part != nullptr) {
                const auto* body = item->att_data.att_static->att_data.att_body_section;
                return QByteArray(body->sec_body_part, static_cast<qsizetype>(body->sec_length));
            }
        }
    }
    return {};
}

CopiedUids ImapConnection::move(const UidList& uids, const QByteArray& to) {
    ++commands_;
    ImapSet set(setOf(uids));
    std::uint32_t validity = 0;
    mailimap_set* source = nullptr;
    mailimap_set* dest = nullptr;
    const int result = has("UIDPLUS") ? mailimap_uidplus_uid_move(imap_, set.p, to.constData(),
                                                                  &validity, &source, &dest)
                                      : mailimap_uid_move(imap_, set.p, to.constData());
    CopiedUids copied = pairUp(validity, source, dest);
    check(result, QStringLiteral("moving messages to \"%1\"").arg(QString::fromUtf8(to)));
    return copied;
}

CopiedUids ImapConnection::copy(const UidList& uids, const QByteArray& to) {
    ++commands_;
    ImapSet set(setOf(uids));
    std::uint32_t validity = 0;
    mailimap_set* source = nullptr;
    mailimap_set* dest = nullptr;
    const int result =
        mailimap_uidplus_uid_copy(imap_, set.p, to.constData(), &validity, &source, &dest);
    CopiedUids copied = pairUp(validity, source, dest);
    check(result, QStringLiteral("copying messages to \"%1\"").arg(QString::fromUtf8(to)));
    return copied;
}

void ImapConnection::markDeleted(const UidList& uids) {
    ++commands_;
    ImapSet set(setOf(uids));
    mailimap_flag_list* flags = mailimap_flag_list_new_empty();
    mailimap_flag_list_add(flags, mailimap_flag_new_deleted());
    Owned<mailimap_store_att_flags, mailimap_store_att_flags_free> store(
        mailimap_store_att_flags_new_add_flags_silent(flags));
    check(mailimap_uid_store(imap_, set.p, store.p), QStringLiteral("marking messages as deleted"));
}

void ImapConnection::expunge(const UidList& uids) {
    ++commands_;
    ImapSet set(setOf(uids));
    check(mailimap_uid_expunge(imap_, set.p), QStringLiteral("deleting messages"));
}

std::vector<QString> ImapConnection::deleteSets(const std::vector<UidList>& sets) {
    std::vector<QString> refused(sets.size());
    const auto noteRefusal = [&](std::size_t set) {
        const QString said = serverSaid();
        refused[set] =
            said.isEmpty()
                ? QStringLiteral("The server %1 refused a command (deleting messages).")
                      .arg(account_.host)
                : QStringLiteral("The server %1 refused a command (deleting messages): %2")
                      .arg(account_.host, said);
    };
    std::vector<QByteArray> texts;
    std::vector<QByteArray> stores;
    for (const UidList& uids : sets) {
        texts.push_back(uidSetText(uids));
        stores.push_back("UID STORE " + texts.back() + " +FLAGS.SILENT (\\Deleted)");
    }
    // Dovecot runs pipelined commands side by side: an EXPUNGE written together with its STORE
    // can miss the flags that STORE sets. So every STORE is answered before any EXPUNGE goes.
    pipeline(stores, QStringLiteral("marking messages as deleted"), [&](std::size_t i, bool ok) {
        if (!ok) {
            noteRefusal(i);
        }
    });
    std::vector<QByteArray> expunges;
    std::vector<std::size_t> setOf;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        if (refused[i].isEmpty()) {
            expunges.push_back("UID EXPUNGE " + texts[i]);
            setOf.push_back(i);
        }
    }
    pipeline(expunges, QStringLiteral("deleting messages"), [&](std::size_t i, bool ok) {
        if (!ok) {
            noteRefusal(setOf[i]);
        }
    });
    return refused;
}

void ImapConnection::create(const QByteArray& mailbox, const QByteArray& specialUse) {
    ++commands_;
    if (!specialUse.isEmpty() && has("CREATE-SPECIAL-USE")) {
        // libetpan has no call for the USE option; the name is quoted as any mailbox name.
        QByteArray quoted = mailbox;
        quoted.replace('\\', "\\\\").replace('"', "\\\"");
        const QByteArray command = "CREATE \"" + quoted + "\" (USE (\\" + specialUse + "))";
        check(mailimap_custom_command(imap_, command.constData()),
              QStringLiteral("creating the folder \"%1\"").arg(QString::fromUtf8(mailbox)));
        return;
    }
    check(mailimap_create(imap_, mailbox.constData()),
          QStringLiteral("creating the folder \"%1\"").arg(QString::fromUtf8(mailbox)));
}

void ImapConnection::remove(const QByteArray& mailbox) {
    ++commands_;
    if (selected_ == mailbox) {
        // Dovecot refuses to delete the selected mailbox; UNSELECT-less servers need another
        // mailbox selected. EXAMINE of INBOX leaves nothing behind.
        check(mailimap_examine(imap_, "INBOX"), QStringLiteral("switching folders"));
        selected_.clear();
    }
    check(mailimap_delete(imap_, mailbox.constData()),
          QStringLiteral("deleting the folder \"%1\"").arg(QString::fromUtf8(mailbox)));
}

}  // namespace tf::store::imap
