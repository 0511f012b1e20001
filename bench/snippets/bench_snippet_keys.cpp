// The snippet engine's CPU time per key press with 1,000 snippets: key
// presses go through the key watcher's signal into the engine (buffer,
// clearing keys, matching), as on the desktop, with a fake watcher so that
// only the engine's own work is counted. Prints one line per kind of typing.

#include "fakes/FakePlatform.h"
#include "settings/AppSettings.h"
#include "snippets/SnippetEngine.h"
#include "snippets/SnippetStore.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <sys/resource.h>

namespace {

constexpr int snippetCount = 1000;
constexpr int presses = 1'000'000;

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Abbreviations as people make them: a ";" or "/" and a short word.
QList<Snippet> manySnippets(bool allEndAlike) {
    QRandomGenerator random(4711);
    QList<Snippet> snippets;
    for (int i = 0; i < snippetCount; ++i) {
        QString abbreviation(QLatin1Char(i % 2 ? ';' : '/'));
        const int letters = 2 + random.bounded(6);
        for (int j = 0; j < letters; ++j)
            abbreviation += QChar(u'a' + random.bounded(26));
        // Digits never come up in the typed text below, so nothing expands.
        abbreviation += QString::number(i);
        if (allEndAlike)
            abbreviation += QLatin1Char('e');
        snippets.append(Snippet{QUuid::createUuid(), abbreviation, QStringLiteral("expansion")});
    }
    return snippets;
}

QList<KeyStroke> typing(const QString& text) {
    QList<KeyStroke> strokes;
    for (const QString& piece : text.split(QLatin1Char('|'))) {
        if (piece == QStringLiteral("<BS>"))
            strokes.append(KeyStroke{KeyStroke::KeyClass::backspace, {}, {}, false});
        else if (piece == QStringLiteral("<RET>"))
            strokes.append(KeyStroke{KeyStroke::KeyClass::returnKey, {}, {}, false});
        else
            strokes.append(KeyStroke{KeyStroke::KeyClass::other, {}, piece, false});
    }
    return strokes;
}

// Splits text into one key press per UTF-16 unit, surrogate pairs kept.
QString asPresses(const QString& text) {
    QStringList keys;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qsizetype n = text.at(i).isHighSurrogate() ? 2 : 1;
        keys.append(text.mid(i, n));
        i += n - 1;
    }
    return keys.join(QLatin1Char('|'));
}

double measure(const char* name, const QList<Snippet>& snippets, const QList<KeyStroke>& keys) {
    QTemporaryDir dir;
    FakePlatform platform;
    QSettings store(dir.filePath(QStringLiteral("Wendle.conf")), QSettings::IniFormat);
    AppSettings settings(store);
    SnippetStore list(dir.filePath(QStringLiteral("snippets.json")));
    list.setSnippets(snippets);
    SnippetEngine engine(platform, list, settings);
    engine.setEnabled(true);

    // One round first: builds the engine's index, warms the caches.
    for (const KeyStroke& key : keys)
        platform.watcher.type(key);
    const double start = cpuSeconds();
    for (int done = 0; done < presses;) {
        for (const KeyStroke& key : keys) {
            platform.watcher.type(key);
            ++done;
        }
    }
    const double perPressUs = (cpuSeconds() - start) / presses * 1e6;
    if (platform.clipboardFake.snapshots != 0)
        std::fprintf(stderr, "unexpected expansion in %s\n", name);
    std::printf("  %-44s %6.3f us CPU per key press\n", name, perPressUs);
    return perPressUs;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString prose = asPresses(QStringLiteral(
        "Thanks for the notes; I will look at them tomorrow and send the revised draft "
        "to the whole team before the meeting. /see you then, "));
    const QString german = asPresses(QStringLiteral(
        "Schöne Grüße aus München; die Straße ist gesperrt, wir nehmen die Fähre. "));
    const QString emoji = asPresses(QStringLiteral(
        "great work \U0001F44D\U0001F3FD see you \U0001F468\u200D\U0001F469\u200D\U0001F467 ok "));

    std::printf("Snippet engine, %d snippets, %d key presses each (getrusage):\n", snippetCount,
                presses);
    double worst = 0;
    worst = qMax(worst, measure("English prose", manySnippets(false), typing(prose)));
    worst = qMax(worst, measure("English prose with edits (Backspace, Return)", manySnippets(false),
                                typing(prose + QStringLiteral("|<BS>|<BS>|s|,| |<RET>"))));
    worst = qMax(worst, measure("German (non-ASCII buffer)", manySnippets(false), typing(german)));
    worst = qMax(worst, measure("emoji clusters", manySnippets(false), typing(emoji)));
    worst = qMax(worst, measure("worst case: all 1000 end in the typed 'e'", manySnippets(true),
                                typing(prose)));
    std::printf("  slowest: %.3f us per key press (target: under 20 us)\n", worst);
    return 0;
}
