#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <string>

#include "tests/support/dovecot_server.h"
#include "tests/support/qt_printers.h"
#include "tests/support/token_check_server.h"

namespace tf::testing {
namespace {

// A bare IMAP client over a blocking socket: what a server says to exactly the bytes sent.
class RawImap {
  public:
    explicit RawImap(quint16 port) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        timeval timeout{20, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawImap() { ::close(fd_); }

    bool connected() const { return connected_; }

    std::string line() {
        std::string text;
        char c;
        while (::recv(fd_, &c, 1, 0) == 1) {
            text += c;
            if (c == '\n') {
                break;
            }
        }
        return text;
    }
    void send(const std::string& text) { ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL); }
    // Sends a tagged command and returns the tagged answer. A challenge (as a failing XOAUTH2
    // gets, with the error in it) is answered with an empty line, as clients do.
    std::string command(const std::string& tag, const std::string& text) {
        send(tag + " " + text + "\r\n");
        for (;;) {
            const std::string answer = line();
            if (answer.empty() || answer.rfind(tag + " ", 0) == 0) {
                return answer;
            }
            if (answer.rfind("+", 0) == 0) {
                send("\r\n");
            }
        }
    }

  private:
    int fd_;
    bool connected_ = false;
};

std::string base64(const std::string& text) {
    return QByteArray::fromStdString(text).toBase64().toStdString();
}

std::string xoauth2(const std::string& user, const std::string& token) {
    return "AUTHENTICATE XOAUTH2 " + base64("user=" + user +
                                            "\x01"
                                            "auth=Bearer " +
                                            token + "\x01\x01");
}

std::string oauthbearer(const std::string& user, const std::string& token, quint16 port) {
    return "AUTHENTICATE OAUTHBEARER " + base64("n,a=" + user +
                                                ",\x01"
                                                "host=127.0.0.1\x01"
                                                "port=" +
                                                std::to_string(port) +
                                                "\x01"
                                                "auth=Bearer " +
                                                token + "\x01\x01");
}

// The test's Dovecot asks the test's token-check endpoint about every token.
class OAuth2DovecotTest : public ::testing::Test {
  protected:
    OAuth2DovecotTest()
        : endpoint({{QStringLiteral("ann-token-1"), QStringLiteral("ann")},
                    {QStringLiteral("bob-token-1"), QStringLiteral("bob")}}) {}

    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        DovecotOptions options;
        options.users = {{QStringLiteral("ann"), QStringLiteral("secret")},
                         {QStringLiteral("bob"), QStringLiteral("other")}};
        options.oauth2TokenCheckUrl = endpoint.url();
        server = std::make_unique<DovecotServer>(dir.path(), options);
        QString why;
        ASSERT_TRUE(server->start(why)) << why.toStdString();
    }

    bool signsIn(const std::string& command) {
        RawImap imap(server->imapPort());
        EXPECT_TRUE(imap.connected());
        EXPECT_EQ(imap.line().rfind("* OK", 0), 0u);
        const std::string answer = imap.command("a1", command);
        imap.command("a2", "LOGOUT");
        return answer.rfind("a1 OK", 0) == 0;
    }

    QTemporaryDir dir;
    TokenCheckServer endpoint;
    std::unique_ptr<DovecotServer> server;
};

TEST_F(OAuth2DovecotTest, ValidTokensSignInWithBothMechanisms) {
    EXPECT_TRUE(signsIn(xoauth2("ann", "ann-token-1"))) << server->logText().toStdString();
    EXPECT_TRUE(signsIn(oauthbearer("ann", "ann-token-1", server->imapPort())))
        << server->logText().toStdString();
    EXPECT_TRUE(endpoint.tokensAsked().contains(QStringLiteral("ann-token-1")));
    // Passwords still work beside tokens.
    EXPECT_TRUE(signsIn("LOGIN ann secret"));
}

TEST_F(OAuth2DovecotTest, WrongOrForeignTokensAreRefused) {
    EXPECT_FALSE(signsIn(xoauth2("ann", "not-a-token")));
    EXPECT_TRUE(endpoint.tokensAsked().contains(QStringLiteral("not-a-token")));
    EXPECT_FALSE(signsIn(oauthbearer("ann", "not-a-token", server->imapPort())));
    // Bob's valid token does not open Ann's mailbox.
    EXPECT_FALSE(signsIn(xoauth2("ann", "bob-token-1")));
    EXPECT_TRUE(signsIn(xoauth2("bob", "bob-token-1")));
    // A password is not a token.
    EXPECT_FALSE(signsIn(xoauth2("ann", "secret")));
}

}  // namespace
}  // namespace tf::testing
