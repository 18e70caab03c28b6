#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QString>
#include <QTemporaryDir>
#include <functional>
#include <memory>

#include "store/maildir/maildir_writer.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/tcp_proxy.h"
#include "tests/support/temp_home.h"

namespace tf::testing {

// Tests against a test Dovecot whose mail is written straight into its Maildir before it
// starts (fast for thousands of messages), with a counting proxy in front of it.
class ProxiedDovecotTest : public ::testing::Test {
  protected:
    // `fill` writes the mail into a Maildir that has a Trash; a server that does not come up
    // fails the test (wrap the call in ASSERT_NO_FATAL_FAILURE).
    void startWith(const std::function<void(store::maildir::MaildirWriter&)>& fill) {
        ASSERT_TRUE(dir_.isValid());
        const QString where = dir_.filePath(QStringLiteral("server"));
        QDir().mkpath(where);
        server_ = std::make_unique<DovecotServer>(where);
        {
            store::maildir::MaildirWriter writer(server_->mailDir());
            writer.addFolder(QStringLiteral(".Trash"));
            fill(writer);
        }
        DovecotServer::giveToMailUser(where + QStringLiteral("/home"));
        QString why;
        ASSERT_TRUE(server_->start(why)) << why.toStdString();
        proxy_ = std::make_unique<TcpProxy>(server_->imapPort());
        ASSERT_NE(proxy_->port(), 0);
    }

    TempHome home_;
    QTemporaryDir dir_;
    std::unique_ptr<DovecotServer> server_;
    std::unique_ptr<TcpProxy> proxy_;
};

}  // namespace tf::testing
