#include "llm/ReplyParser.h"

#include <QTest>

using namespace LLMClient;

Q_DECLARE_METATYPE(LLMClient::Piece)

namespace LLMClient {
// How QCOMPARE shows a piece when a comparison fails.
char* toString(const Piece& piece) {
    QString shown;
    if (const auto* t = std::get_if<TextPiece>(&piece))
        shown = u"text(" % t->text % u')';
    else if (std::holds_alternative<DonePiece>(piece))
        shown = QStringLiteral("done");
    else if (std::holds_alternative<SkipPiece>(piece))
        shown = QStringLiteral("skip");
    else
        shown = u"error(" % std::get<LLMError>(piece).description() % u')';
    return qstrdup(shown.toUtf8().constData());
}
} // namespace LLMClient

namespace {

Piece text(const QString& t) {
    return TextPiece{t};
}
const Piece done = DonePiece{};
const Piece skip = SkipPiece{};
Piece serverError(const QString& message) {
    return LLMError::server(message);
}

} // namespace

// One line of a streamed reply at a time. (Raw string literals here keep their
// quotes balanced: moc loses its way in one that does not.)
class ReplyParserTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void ollamaLines_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<Piece>("expected");
        QTest::newRow("content")
            << R"({"message":{"role":"assistant","content":"Hello"},"done":false})"
            << text("Hello");
        QTest::newRow("content verbatim, blanks and markup kept")
            << R"({"message":{"content":"  <think>\n"},"done":false})" << text("  <think>\n");
        QTest::newRow("escaped angle brackets")
            << R"({"message":{"content":"\u003cthink\u003e"}})" << text("<think>");
        QTest::newRow("done with empty content")
            << R"({"message":{"content":""},"done":true})" << done;
        QTest::newRow("done without message") << R"({"done":true,"done_reason":"stop"})" << done;
        QTest::newRow("content wins over done")
            << R"({"message":{"content":"end."},"done":true})" << text("end.");
        QTest::newRow("no content, not done")
            << R"({"message":{"content":""},"done":false})" << skip;
        QTest::newRow("thinking field ignored")
            << R"({"message":{"role":"assistant","content":"","thinking":"hmm"},"done":false})"
            << skip;
        QTest::newRow("done as a string is not done") << R"({"done":"true"})" << skip;
        QTest::newRow("content of another type")
            << R"({"message":{"content":5},"done":false})" << skip;
        QTest::newRow("message of another type") << R"({"message":"hi","done":false})" << skip;
        QTest::newRow("error string")
            << R"({"error":"model 'x' not found"})" << serverError("model 'x' not found");
        QTest::newRow("error object")
            << R"({"error":{"message":"boom","type":"x"}})" << serverError("boom");
        QTest::newRow("error before content")
            << R"({"message":{"content":"a"},"error":"late"})" << serverError("late");
        QTest::newRow("error object without message")
            << R"({"error":{"code":1},"message":{"content":"a"}})" << text("a");
        QTest::newRow("error null") << R"({"error":null,"message":{"content":"a"}})" << text("a");
        QTest::newRow("surrounding blanks")
            << "  \t{\"message\":{\"content\":\"x\"}}\t " << text("x");
        QTest::newRow("empty") << "" << skip;
        QTest::newRow("blanks") << " \t " << skip;
        QTest::newRow("broken json") << "{\"message\":{\"content\":\"Sure\"},\"do" << skip;
        QTest::newRow("array") << "[1,2]" << skip;
        QTest::newRow("number") << "42" << skip;
        QTest::newRow("sse line in ollama mode") << R"(data: {"message":{"content":"x"}})" << skip;
        QTest::newRow("openai chunk in ollama mode")
            << R"({"choices":[{"delta":{"content":"x"}}]})" << skip;
    }
    void ollamaLines() {
        QFETCH(QString, line);
        QFETCH(Piece, expected);
        QCOMPARE(parse(line, true), expected);
    }

    void serverSentEventLines_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<Piece>("expected");
        QTest::newRow("content") << R"(data: {"choices":[{"index":0,"delta":{"content":"Hi"}}]})"
                                 << text("Hi");
        QTest::newRow("no space after data:")
            << R"(data:{"choices":[{"delta":{"content":"Hi"}}]})" << text("Hi");
        QTest::newRow("several spaces and a tab")
            << "data:   \t{\"choices\":[{\"delta\":{\"content\":\"Hi\"}}]}" << text("Hi");
        QTest::newRow("content verbatim")
            << R"(data: {"choices":[{"delta":{"content":"\n\n"}}]})" << text("\n\n");
        QTest::newRow("done") << "data: [DONE]" << done;
        QTest::newRow("done without space") << "data:[DONE]" << done;
        QTest::newRow("done with blanks") << "  data:  [DONE] \t" << done;
        QTest::newRow("done-like prefix is not done") << "data: [DONE]x" << skip;
        QTest::newRow("role only")
            << R"(data: {"choices":[{"delta":{"role":"assistant"}}]})" << skip;
        QTest::newRow("empty content") << R"(data: {"choices":[{"delta":{"content":""}}]})" << skip;
        QTest::newRow("null content")
            << R"(data: {"choices":[{"delta":{"content":null}}]})" << skip;
        QTest::newRow("empty delta")
            << R"(data: {"choices":[{"delta":{},"finish_reason":"stop"}]})" << skip;
        QTest::newRow("usage chunk")
            << R"(data: {"choices":[],"usage":{"total_tokens":3}})" << skip;
        QTest::newRow("no choices") << R"(data: {"id":"x"})" << skip;
        QTest::newRow("choices not an array")
            << R"(data: {"choices":{"delta":{"content":"x"}}})" << skip;
        QTest::newRow("reasoning_content ignored")
            << R"(data: {"choices":[{"delta":{"reasoning_content":"Okay"}}]})" << skip;
        QTest::newRow("reasoning ignored")
            << R"(data: {"choices":[{"delta":{"content":"","reasoning":"Okay"}}]})" << skip;
        QTest::newRow("refusal ignored")
            << R"(data: {"choices":[{"delta":{"refusal":"No."}}]})" << skip;
        QTest::newRow("only the first choice")
            << R"(data: {"choices":[{"delta":{}},{"delta":{"content":"second"}}]})" << skip;
        QTest::newRow("error object") << R"(data: {"error":{"message":"Overloaded","type":"x"}})"
                                      << serverError("Overloaded");
        QTest::newRow("error string") << R"(data: {"error":"Context size has been exceeded."})"
                                      << serverError("Context size has been exceeded.");
        QTest::newRow("error before choices")
            << R"(data: {"choices":[{"delta":{"content":"x"}}],"error":{"message":"gone"}})"
            << serverError("gone");
        QTest::newRow("python spacing")
            << R"(data: {"error": {"message": "E", "code": 500}})" << serverError("E");
        QTest::newRow("error: field line") << R"(error: {"code":400,"message":"too long"})" << skip;
        QTest::newRow("comment") << ": OPENROUTER PROCESSING" << skip;
        QTest::newRow("event") << "event: error" << skip;
        QTest::newRow("id") << "id: 7" << skip;
        QTest::newRow("retry") << "retry: 1000" << skip;
        QTest::newRow("plain json line") << R"({"choices":[{"delta":{"content":"x"}}]})" << skip;
        QTest::newRow("broken json") << "data: {\"choices\":[{\"delta\":{\"content\":\"The" << skip;
        QTest::newRow("data only") << "data:" << skip;
        QTest::newRow("empty") << "" << skip;
        QTest::newRow("uppercase DATA")
            << R"(DATA: {"choices":[{"delta":{"content":"x"}}]})" << skip;
    }
    void serverSentEventLines() {
        QFETCH(QString, line);
        QFETCH(Piece, expected);
        QCOMPARE(parse(line, false), expected);
    }

    void errorMessageFromBodies_data() {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("error string") << "{\"error\":\"model 'llama9' not found\"}"
                                      << "model 'llama9' not found";
        QTest::newRow("error object")
            << "\n  {\"error\":{\"message\":\"No models loaded.\",\"code\":null}}\n"
            << "No models loaded.";
        QTest::newRow("flat object: the text itself")
            << R"({"object":"error","message":"The model `gpt-4o` does not exist."})"
            << R"({"object":"error","message":"The model `gpt-4o` does not exist."})";
        QTest::newRow("plain text trimmed") << "  404 page not found\n"
                                            << "404 page not found";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("blank") << " \n\t"
                               << "";
        const QString longMessage(400, u'm');
        QTest::newRow("json messages are not shortened")
            << "{\"error\":\"" + longMessage + "\"}" << longMessage;
        const QString page = "<html>" + QString(500, u'x') + "</html>";
        QTest::newRow("long text cut at 300") << "\n" + page << page.left(300);
        // 299 letters and an emoji: the emoji is one character, both of its
        // code units stay.
        const QString emoji = QString(299, u'a') + QStringLiteral("\U0001F60A") + "tail";
        QTest::newRow("cut counts characters") << emoji << emoji.left(301);
    }
    void errorMessageFromBodies() {
        QFETCH(QString, body);
        QFETCH(QString, expected);
        QCOMPARE(errorMessage(body), expected);
    }
};

QTEST_GUILESS_MAIN(ReplyParserTest)
#include "tst_replyparser.moc"
