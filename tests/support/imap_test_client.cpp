#include "tests/support/imap_test_client.h"

#include <gtest/gtest.h>
#include <libetpan/libetpan.h>

#include <cstring>

#include "store/maildir/maildir_writer.h"
#include "store/maildir/message_headers.h"

namespace tf::testing {

namespace {

void expectOk(int result, const char* what, mailimap* imap) {
    if (result != MAILIMAP_NO_ERROR) {
        ADD_FAILURE() << what << " failed (" << result
                      << "): " << (imap && imap->imap_response ? imap->imap_response : "");
    }
}

}  // namespace

QByteArray testMail(const QString& subject, const QString& sender, const QDateTime& date,
                    const QString& messageId, const QString& body) {
    store::maildir::MailToWrite mail;
    mail.subject = subject;
    mail.senderName = sender;
    mail.date = date;
    // composeMail adds the angle brackets.
    mail.messageId = messageId.mid(messageId.startsWith(QLatin1Char('<')) ? 1 : 0);
    mail.messageId.chop(mail.messageId.endsWith(QLatin1Char('>')) ? 1 : 0);
    mail.body = body;
    return store::maildir::composeMail(mail);
}

ImapTestClient::ImapTestClient(quint16 port, const QString& user, const QString& password) {
    imap_ = mailimap_new(0, nullptr);
    mailimap_set_timeout(imap_, 20);
    const int connected = mailimap_socket_connect(imap_, "127.0.0.1", port);
    if (connected != MAILIMAP_NO_ERROR_NON_AUTHENTICATED &&
        connected != MAILIMAP_NO_ERROR_AUTHENTICATED && connected != MAILIMAP_NO_ERROR) {
        ADD_FAILURE() << "cannot connect to 127.0.0.1:" << port;
        mailimap_free(imap_);
        imap_ = nullptr;
        return;
    }
    const int login =
        mailimap_login(imap_, user.toUtf8().constData(), password.toUtf8().constData());
    if (login != MAILIMAP_NO_ERROR) {
        ADD_FAILURE() << "test client login failed";
        mailimap_free(imap_);
        imap_ = nullptr;
    }
}

ImapTestClient::~ImapTestClient() {
    if (imap_ != nullptr) {
        mailimap_logout(imap_);
        mailimap_free(imap_);
    }
}

void ImapTestClient::create(const QByteArray& mailbox) {
    ASSERT_TRUE(imap_);
    expectOk(mailimap_create(imap_, mailbox.constData()), "CREATE", imap_);
}

void ImapTestClient::append(const QByteArray& mailbox, const QByteArray& message, bool seen,
                            const QDateTime& received) {
    ASSERT_TRUE(imap_);
    mailimap_flag_list* flags = mailimap_flag_list_new_empty();
    if (seen) {
        mailimap_flag_list_add(flags, mailimap_flag_new_seen());
    }
    const QDateTime utc = received.toUTC();
    mailimap_date_time* when =
        mailimap_date_time_new(utc.date().day(), utc.date().month(), utc.date().year(),
                               utc.time().hour(), utc.time().minute(), utc.time().second(), 0);
    expectOk(mailimap_append(imap_, mailbox.constData(), flags, when, message.constData(),
                             static_cast<size_t>(message.size())),
             "APPEND", imap_);
    mailimap_flag_list_free(flags);
    mailimap_date_time_free(when);
}

QList<QByteArray> ImapTestClient::mailboxes() {
    QList<QByteArray> out;
    if (imap_ == nullptr) {
        ADD_FAILURE() << "not connected";
        return out;
    }
    clist* list = nullptr;
    expectOk(mailimap_list(imap_, "", "*", &list), "LIST", imap_);
    for (clistiter* it = list ? clist_begin(list) : nullptr; it; it = clist_next(it)) {
        out << QByteArray(static_cast<mailimap_mailbox_list*>(clist_content(it))->mb_name);
    }
    if (list) {
        mailimap_list_result_free(list);
    }
    return out;
}

void ImapTestClient::select(const QByteArray& mailbox) {
    expectOk(mailimap_select(imap_, mailbox.constData()), "SELECT", imap_);
}

std::uint32_t ImapTestClient::uidValidity(const QByteArray& mailbox) {
    if (imap_ == nullptr) {
        return 0;
    }
    select(mailbox);
    return imap_->imap_selection_info ? imap_->imap_selection_info->sel_uidvalidity : 0;
}

QStringList ImapTestClient::messageIds(const QByteArray& mailbox) {
    QStringList out;
    if (imap_ == nullptr) {
        ADD_FAILURE() << "not connected";
        return out;
    }
    select(mailbox);
    if (imap_->imap_selection_info == nullptr || imap_->imap_selection_info->sel_exists == 0) {
        return out;
    }
    mailimap_set* set = mailimap_set_new_interval(1, 0);
    mailimap_fetch_type* type = mailimap_fetch_type_new_fetch_att_list_empty();
    mailimap_fetch_type_new_fetch_att_list_add(type, mailimap_fetch_att_new_uid());
    clist* names = clist_new();
    clist_append(names, ::strdup("MESSAGE-ID"));
    mailimap_fetch_type_new_fetch_att_list_add(
        type, mailimap_fetch_att_new_body_peek_section(
                  mailimap_section_new_header_fields(mailimap_header_list_new(names))));
    clist* result = nullptr;
    expectOk(mailimap_uid_fetch(imap_, set, type, &result), "UID FETCH", imap_);
    for (clistiter* it = result ? clist_begin(result) : nullptr; it; it = clist_next(it)) {
        auto* att = static_cast<mailimap_msg_att*>(clist_content(it));
        for (clistiter* a = clist_begin(att->att_list); a; a = clist_next(a)) {
            auto* item = static_cast<mailimap_msg_att_item*>(clist_content(a));
            if (item->att_type == MAILIMAP_MSG_ATT_ITEM_STATIC &&
                item->att_data.att_static->att_type == MAILIMAP_MSG_ATT_BODY_SECTION) {
                const auto* body = item->att_data.att_static->att_data.att_body_section;
                const QByteArray text(body->sec_body_part,
                                      static_cast<qsizetype>(body->sec_length));
                const qsizetype colon = text.indexOf(':');
                out << QString::fromLatin1(text.mid(colon + 1).trimmed());
            }
        }
    }
    if (result) {
        mailimap_fetch_list_free(result);
    }
    mailimap_fetch_type_free(type);
    mailimap_set_free(set);
    return out;
}

void ImapTestClient::expungeMessageIds(const QByteArray& mailbox, const QStringList& ids,
                                       bool expunge) {
    const QStringList all = messageIds(mailbox);
    mailimap_set* set = mailimap_set_new_empty();
    bool any = false;
    for (qsizetype i = 0; i < all.size(); ++i) {
        if (ids.contains(all[i])) {
            mailimap_set_add_single(set, static_cast<uint32_t>(i + 1));
            any = true;
        }
    }
    if (any) {
        mailimap_flag_list* flags = mailimap_flag_list_new_empty();
        mailimap_flag_list_add(flags, mailimap_flag_new_deleted());
        mailimap_store_att_flags* store = mailimap_store_att_flags_new_add_flags_silent(flags);
        expectOk(mailimap_store(imap_, set, store), "STORE", imap_);
        mailimap_store_att_flags_free(store);
        if (expunge) {
            expectOk(mailimap_expunge(imap_), "EXPUNGE", imap_);
        }
    }
    mailimap_set_free(set);
}

}  // namespace tf::testing
