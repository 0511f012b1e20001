#include "ReplyPlan.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QByteArray contentTypeFor(const QString& vectorPath, int status) {
    const QFileInfo info(vectorPath);
    QFile table(info.dir().filePath(QStringLiteral("content-types.tsv")));
    if (table.open(QIODevice::ReadOnly)) {
        while (!table.atEnd()) {
            const QByteArray line = table.readLine().trimmed();
            const QList<QByteArray> fields = line.split('\t');
            if (fields.size() == 2 && fields[0] == info.fileName().toUtf8())
                return fields[1];
        }
    }
    return status == 200 ? QByteArray("application/x-ndjson") : QByteArray("application/json");
}

} // namespace

std::optional<ReplyPlan> ReplyPlan::fromVector(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray all = file.readAll();
    const qsizetype firstLineEnd = all.indexOf('\n');
    if (firstLineEnd < 0 || !all.startsWith("HTTP "))
        return std::nullopt;
    bool ok = false;
    const int status = all.mid(5, firstLineEnd - 5).trimmed().toInt(&ok);
    if (!ok)
        return std::nullopt;
    ReplyPlan plan;
    plan.status = status;
    plan.body = all.mid(firstLineEnd + 1);
    plan.contentType = contentTypeFor(path, status);
    return plan;
}

ReplyPlan ReplyPlan::recorded(const QString& name) {
    const QString path = QStringLiteral(WENDLE_VECTORS "/") + name;
    std::optional<ReplyPlan> plan = fromVector(path);
    if (!plan)
        qFatal("no recorded reply in %s", qPrintable(path));
    return *plan;
}

ReplyPlan ReplyPlan::text(int status, const QByteArray& contentType, const QByteArray& body) {
    ReplyPlan plan;
    plan.status = status;
    plan.contentType = contentType;
    plan.body = body;
    return plan;
}

ReplyPlan ReplyPlan::htmlPage() {
    return text(200, "text/html; charset=utf-8",
                "<!DOCTYPE html>\n<html>\n<head><title>Welcome</title></head>\n"
                "<body>\n<h1>It works!</h1>\n<p>This is the default web page for this server.</p>\n"
                "</body>\n</html>\n");
}

ReplyPlan ReplyPlan::redirect(int status, const QByteArray& location) {
    ReplyPlan plan =
        text(status, "text/html; charset=utf-8", "<a href=\"" + location + "\">Moved</a>.\n");
    plan.headers.append({"Location", location});
    return plan;
}

QByteArray ReplyPlan::sentBody() const {
    if (!cutsBody())
        return body;
    return body.left(closeAfter < 0 ? body.size() / 2 : closeAfter);
}

QList<QByteArray> ReplyPlan::pieces() const {
    const QByteArray all = sentBody();
    QList<qsizetype> cuts;
    for (qsizetype i = 0; i < all.size(); ++i) {
        const auto byte = static_cast<unsigned char>(all[i]);
        switch (split) {
        case Split::whole:
            break;
        case Split::lines:
            if (byte == '\n' || (byte == '\r' && (i + 1 >= all.size() || all[i + 1] != '\n')))
                cuts.append(i + 1);
            break;
        case Split::bytes:
            cuts.append(i + 1);
            break;
        case Split::insideUtf8:
            if (byte >= 0xC0)
                cuts.append(i + 1);
            break;
        case Split::betweenCrLf:
            if (byte == '\r' && i + 1 < all.size() && all[i + 1] == '\n')
                cuts.append(i + 1);
            break;
        }
    }
    QList<QByteArray> result;
    qsizetype start = 0;
    for (const qsizetype cut : cuts) {
        if (cut > start && cut < all.size()) {
            result.append(all.mid(start, cut - start));
            start = cut;
        }
    }
    if (start < all.size())
        result.append(all.mid(start));
    return result;
}

namespace BodyText {

QByteArray withCrLf(const QByteArray& body) {
    QByteArray copy = body;
    return copy.replace("\n", "\r\n");
}

QByteArray withCr(const QByteArray& body) {
    QByteArray copy = body;
    return copy.replace('\n', '\r');
}

QByteArray withoutCrLf(const QByteArray& body) {
    QByteArray copy = body;
    return copy.replace("\r\n", "\n");
}

QByteArray withoutFinalNewline(const QByteArray& body) {
    QByteArray copy = body;
    while (copy.endsWith('\n') || copy.endsWith('\r'))
        copy.chop(1);
    return copy;
}

} // namespace BodyText
