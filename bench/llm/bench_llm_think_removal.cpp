// The cost of think-block removal per piece when the whole output is cleaned
// again on every piece, as the palette does for its live result, against the
// incremental cleaner the command line streams with.

#include "BenchStats.h"
#include "llm/ReplyText.h"
#include "llm/StreamingCleaner.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

namespace {

// A 50 KB reply of a reasoning model: a think block, then prose with
// paragraphs, in pieces of about one token (3 to 6 characters).
QStringList replyPieces() {
    QString reply = QStringLiteral("<think>\n");
    while (reply.size() < 8000)
        reply += QStringLiteral("Okay, the user wants this shorter. Keep the facts, drop the "
                                "filler, and mind the tone. ");
    reply += QStringLiteral("\n</think>\n\n");
    int sentence = 0;
    while (reply.size() < 50 * 1000) {
        reply += QStringLiteral("The committee met on Tuesday and agreed on sentence %1 of the "
                                "plan, with caf\u00E9 prices unchanged. ")
                     .arg(++sentence);
        if (sentence % 6 == 0)
            reply += QStringLiteral("\n\n");
    }
    QStringList pieces;
    int length = 3;
    for (qsizetype at = 0; at < reply.size(); at += length, length = 3 + (length + 1) % 4)
        pieces.append(reply.mid(at, length));
    return pieces;
}

void report(const char* label, const QList<double>& perPieceUs) {
    const BenchStats stats(perPieceUs);
    std::printf("  %-44s mean %7.2f us, median %7.2f us, 99th percentile %7.2f us, max %7.2f us\n",
                label, stats.mean(), stats.median(), stats.percentile(0.99), stats.max());
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList pieces = replyPieces();
    qsizetype total = 0;
    for (const QString& piece : pieces)
        total += piece.size();
    std::printf("Think-block removal per piece, a %lld-character reply in %lld pieces\n",
                qint64(total), qint64(pieces.size()));

    QList<double> whole;
    QList<double> last1000;
    QString output;
    qsizetype sink = 0;
    for (int round = 0; round < 3; ++round) {
        whole.clear();
        output.clear();
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            QElapsedTimer clock;
            clock.start();
            output += pieces[i];
            sink += ReplyText::cleaned(output).size();
            const double us = double(clock.nsecsElapsed()) / 1000.0;
            whole.append(us);
        }
    }
    last1000 = whole.mid(whole.size() - 1000);
    report("cleaned() of the whole output, every piece", whole);
    report("... the last 1,000 pieces (output near 50 KB)", last1000);

    QList<double> incremental;
    for (int round = 0; round < 3; ++round) {
        incremental.clear();
        StreamingCleaner cleaner;
        for (const QString& piece : pieces) {
            QElapsedTimer clock;
            clock.start();
            sink += cleaner.feed(piece).size();
            incremental.append(double(clock.nsecsElapsed()) / 1000.0);
        }
        sink += cleaner.finish().size();
    }
    report("StreamingCleaner::feed(), every piece", incremental);

    // One cleaned() of a reply with many blocks: the time per block stays
    // the same however many there are.
    std::printf("cleaned() of a reply of many short think blocks\n");
    for (const int blocks : {1000, 10000, 100000, 400000}) {
        const QString raw = QStringLiteral("Word <think>a thought</think>").repeated(blocks);
        QElapsedTimer clock;
        clock.start();
        sink += ReplyText::cleaned(raw).size();
        const double ms = double(clock.nsecsElapsed()) / 1e6;
        std::printf("  %7d blocks, %8lld characters: %8.2f ms, %6.1f ns per block\n", blocks,
                    qint64(raw.size()), ms, ms * 1e6 / blocks);
    }
    return sink == 42 ? 1 : 0; // keeps the work from being optimised away
}
