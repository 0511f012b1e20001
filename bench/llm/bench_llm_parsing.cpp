// Reply parsing throughput: line splitting and parse() of every line (as a
// run does it, on the line's UTF-8 bytes), over multi-megabyte bodies built from real servers'
// replies, fed in pieces the size of network reads.

#include "BenchStats.h"
#include "llm/LineSplitter.h"
#include "llm/ReplyParser.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

namespace {

QByteArray bodyOf(const QString& file) {
    QFile f(QStringLiteral(WENDLE_VECTORS) + u'/' + file);
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(file));
    const QByteArray all = f.readAll();
    return all.mid(all.indexOf('\n') + 1);
}

// Real replies back to back until the body is at least `size` bytes.
QByteArray repeated(const QStringList& files, qsizetype size) {
    QByteArray unit;
    for (const QString& file : files) {
        QByteArray body = bodyOf(file);
        if (!body.endsWith('\n'))
            body += '\n';
        unit += body;
    }
    QByteArray all;
    all.reserve(size + unit.size());
    while (all.size() < size)
        all += unit;
    return all;
}

struct Counts {
    qint64 lines = 0;
    qint64 texts = 0;
};

// What a run does with its body, minus the network: split, parse.
Counts parseAll(const QByteArray& body, bool ollama, qsizetype readSize) {
    Counts counts;
    LineSplitter splitter;
    for (qsizetype at = 0; at < body.size(); at += readSize) {
        splitter.feed(QByteArrayView(body).sliced(at, std::min(readSize, body.size() - at)),
                      [&](QByteArrayView line) {
                          ++counts.lines;
                          const LLMClient::Piece piece = LLMClient::parse(line, ollama);
                          counts.texts +=
                              std::holds_alternative<LLMClient::TextPiece>(piece) ? 1 : 0;
                          return true;
                      });
    }
    return counts;
}

void measure(const char* label, const QByteArray& body, bool ollama) {
    constexpr qsizetype readSize = 16 * 1024;
    constexpr int rounds = 7;
    parseAll(body, ollama, readSize); // warm-up
    QList<double> rates;
    Counts counts;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer clock;
        clock.start();
        counts = parseAll(body, ollama, readSize);
        const double seconds = double(clock.nsecsElapsed()) / 1e9;
        rates.append(double(body.size()) / 1e6 / seconds);
    }
    const BenchStats stats(rates);
    std::printf("  %-34s %5.1f MB, %7lld lines (%lld with text): median %6.1f MB/s "
                "(min %.1f, max %.1f, %d rounds, %lld-byte reads)\n",
                label, double(body.size()) / 1e6, counts.lines, counts.texts, stats.median(),
                stats.min(), stats.max(), rounds, qint64(readSize));
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    constexpr qsizetype size = 8 * 1000 * 1000;
    std::printf("Reply parsing (split lines + parse every line), target > 100 MB/s\n");
    measure("NDJSON (Ollama /api/chat)",
            repeated({"ollama_chat_stream_basic.txt", "ollama_chat_stream_thinking_field.txt",
                      "ollama_chat_stream_think_tags_in_content.txt",
                      "ollama_chat_stream_legacy_order_length.txt"},
                     size),
            true);
    measure("server-sent events (OpenAI-style)",
            repeated({"openai_chat_stream_basic.txt", "lmstudio_chat_stream_reasoning_content.txt",
                      "llamacpp_chat_stream_reasoning_include_usage.txt",
                      "vllm_chat_stream_reasoning_content.txt", "compat_sse_crlf_line_endings.txt",
                      "ollama_v1_chat_stream_current.txt"},
                     size),
            false);
    return 0;
}
