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
};

// A minimal HTTP/1.1 server on 127.0.0.1 that records what it receives and
// answers 200, or, when told to, accepts and never answers.
class LoopbackServer : public QTcpServer {
public:
    LoopbackServer() {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection()) {
                socket->setParent(this);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            }
        });
        listen(QHostAddress::LocalHost);
    }

    bool answer = true;
    QList<ReceivedRequest> requests;

    QByteArray url() const {
        return "http://127.0.0.1:" + QByteArray::number(serverPort()) + "/api/send";
    }

private:
    void read(QTcpSocket* socket) {
        QByteArray& buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        ReceivedRequest request;
        const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
        request.requestLine = lines.value(0).trimmed();
        for (const QByteArray& line : lines.mid(1))
            request.headers.insert(line.left(line.indexOf(':')).trimmed().toLower(),
                                   line.mid(line.indexOf(':') + 1).trimmed());
        const qsizetype length = request.headers.value("content-length").toLongLong();
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
