#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QTcpServer>
#include <QTcpSocket>

namespace quorlen::testing {

// One HTTP request as it arrived: the request line, the headers (names in
// lower case) and the body.
struct ReceivedRequest {
    QByteArray requestLine;
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;

    QByteArray header(const QByteArray& name) const { return headers.value(name); }
};

// A minimal HTTP/1.1 server on 127.0.0.1 that records what it receives and
// answers 200, or, when told to, accepts and never answers.
class LoopbackServer : public QTcpServer {
public:
    LoopbackServer() {
        connect(this, &QTcpServer::newConnection, this, &LoopbackServer::accept);
        listen(QHostAddress::LocalHost);
    }

    bool answer = true;
    QList<ReceivedRequest> requests;

    QByteArray url() const {
        return "http://127.0.0.1:" + QByteArray::number(serverPort()) + "/api/send";
    }

private:
    void accept() {
        while (QTcpSocket* socket = nextPendingConnection()) {
            socket->setParent(this);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        }
    }

    void read(QTcpSocket* socket) {
        QByteArray& buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        ReceivedRequest request;
        const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
        request.requestLine = lines.value(0).trimmed();
        qsizetype length = 0;
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            const QByteArray name = lines[i].left(colon).trimmed().toLower();
            const QByteArray value = lines[i].mid(colon + 1).trimmed();
            request.headers.insert(name, value);
            if (name == "content-length")
                length = value.toLongLong();
        }
        if (buffer.size() < headerEnd + 4 + length)
            return;
        request.body = buffer.mid(headerEnd + 4, length);
        requests.append(request);
        buffer.clear();
        if (answer)
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    }

    QHash<QTcpSocket*, QByteArray> m_buffers;
};

} // namespace quorlen::testing
