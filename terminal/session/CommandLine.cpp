#include "terminal/session/CommandLine.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace Terminal {

namespace {

const auto description = QStringLiteral(
    "An operator terminal in a window: feeds keys, mouse, touch and wheel to the event layer and shows the\n"
    "classified events. QT_QPA_PLATFORM chooses where it draws: xcb, offscreen, linuxfb, ...");

const auto examples =
    QStringLiteral("Examples:\n"
                   "  kxterminal --print\n"
                   "  kxterminal --record complaint.kxr\n"
                   "  kxterminal --keep-last 10 --save-to /var/lib/complaints\n"
                   "  kxterminal --replay complaint.kxr --speed 4\n"
                   "  kxterminal --can-bus can0 --keypad keypad.txt\n"
                   "  QT_QPA_PLATFORM=offscreen kxterminal --replay complaint.kxr --speed 100 "
                   "--exit-at-end \\\n"
                   "      --print --screenshot complaint.png\n"
                   "\n"
                   "Exit status: 0 the terminal was closed; 1 it failed underway, or a recording "
                   "could not be\n"
                   "written to its end; 2 the arguments, the bus or a file are bad.\n");

struct Options {
    QCommandLineOption print{QStringLiteral("print"),
                             QStringLiteral("Print each classified event as a line on standard output.")};
    QCommandLineOption exitAfter{QStringLiteral("exit-after"), QStringLiteral("End after MS milliseconds."),
                                 QStringLiteral("MS")};
    QCommandLineOption screenshot{QStringLiteral("screenshot"),
                                  QStringLiteral("Write a picture of the window, as PNG, to FILE when it ends."),
                                  QStringLiteral("FILE")};
    QCommandLineOption demo{QStringLiteral("demo"),
                            QStringLiteral("Play a short sequence of operator input on the window, then end.")};
    QCommandLineOption canBus{
        QStringLiteral("can-bus"),
        QStringLiteral("Bus of the keypad: an interface (can0) or a virtual bus (unix:PATH). "
                       "Else KX_CAN_BUS_0, else a virtual bus of its own."),
        QStringLiteral("BUS")};
    QCommandLineOption keypad{QStringLiteral("keypad"),
                              QStringLiteral("Read the layout of the keypad from FILE: lines such as "
                                             "'key 1 code 0 byte 0 bit 0 id 18FF0001' and "
                                             "'encoder id 18FF0002 byte 0 little mask FFFF up 4 down 5'."),
                              QStringLiteral("FILE")};
    QCommandLineOption record{QStringLiteral("record"),
                              QStringLiteral("Write every input with its tick into FILE, which must not hold "
                                             "anything yet. kxreplay plays it."),
                              QStringLiteral("FILE")};
    QCommandLineOption keepLast{
        QStringLiteral("keep-last"),
        QStringLiteral("Keep the input of the last MINUTES (1 to 1440) in memory. Ctrl+S or the "
                       "signal SIGUSR1 saves it as a recording."),
        QStringLiteral("MINUTES")};
    QCommandLineOption saveTo{QStringLiteral("save-to"),
                              QStringLiteral("Folder of what is saved; else the current one."),
                              QStringLiteral("FOLDER")};
    QCommandLineOption saveMost{
        QStringLiteral("save-most"),
        QStringLiteral("Keep at most COUNT saved files (1 to 9999; else 20). The oldest are "
                       "deleted."),
        QStringLiteral("COUNT")};
    QCommandLineOption replay{QStringLiteral("replay"),
                              QStringLiteral("Play the recording in FILE instead of taking the operator's input."),
                              QStringLiteral("FILE")};
    QCommandLineOption speed{QStringLiteral("speed"),
                             QStringLiteral("Replay N times as fast as it was recorded (0.01 to 1000)."),
                             QStringLiteral("N")};
    QCommandLineOption exitAtEnd{QStringLiteral("exit-at-end"), QStringLiteral("End when the replay has ended.")};
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Show the version.")};

    void addTo(QCommandLineParser& parser) const {
        parser.addOptions({record, keepLast, saveTo, saveMost, replay, speed, exitAtEnd, print, canBus, keypad,
                           exitAfter, screenshot, demo, help, version});
    }
};

QString quoted(const QString& text) {
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// The message quotes what the user typed, which may contain line ends. The message must stay one line.
QString asOneLine(QString text) {
    for (QChar& character : text)
        if (!character.isPrint())
            character = QLatin1Char('?');
    return text;
}

CommandLine refuse(const QString& reason) {
    CommandLine refused;
    refused.outcome = CommandLine::Outcome::Refuse;
    refused.text = QStringLiteral("kxterminal: ") + asOneLine(reason);
    return refused;
}

CommandLine inform(const QString& text) {
    CommandLine informed;
    informed.outcome = CommandLine::Outcome::Inform;
    informed.text = text;
    return informed;
}

QString whatIsWrong(const QCommandLineParser& parser) {
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty())
        return parser.errorText();
    const QString& name = unknown.first();
    return QStringLiteral("unknown option ") + quoted((name.size() == 1 ? "-" : "--") + name);
}

std::optional<int> parseNumber(const QString& text) {
    // toInt alone would accept signs and blanks.
    for (const QChar character : text)
        if (character < QLatin1Char('0') || character > QLatin1Char('9'))
            return std::nullopt;
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional<int>(number) : std::nullopt;
}

std::optional<double> parseSpeed(const QString& text) {
    constexpr double slowest = 0.01;
    constexpr double fastest = 1000;
    static const QRegularExpression plainNumber(QStringLiteral("^[0-9]+(\\.[0-9]+)?$"));
    const double speed = plainNumber.match(text).hasMatch() ? text.toDouble() : 0;
    return speed >= slowest && speed <= fastest ? std::optional<double>(speed) : std::nullopt;
}

// What is wrong, in words; empty when nothing is wrong.
QString readTexts(const QCommandLineParser& parser, const Options& options, CommandLine& settings) {
    const struct {
        const QCommandLineOption& option;
        QString& value;
    } fileOptions[] = {{options.screenshot, settings.screenshotFile},
                       {options.keypad, settings.keypadFile},
                       {options.record, settings.recordFile},
                       {options.saveTo, settings.saveFolder},
                       {options.replay, settings.replayFile}};
    for (const auto& [option, value] : fileOptions) {
        if (!parser.isSet(option))
            continue;
        value = parser.value(option);
        if (value.isEmpty())
            return QStringLiteral("--%1: the file name is empty").arg(option.names().constFirst());
    }
    if (parser.isSet(options.canBus)) {
        settings.canBus = parser.value(options.canBus);
        if (settings.canBus->isEmpty())
            return QStringLiteral("--can-bus: the name of the bus is empty");
    }
    return QString();
}

QString readNumbers(const QCommandLineParser& parser, const Options& options, CommandLine& settings) {
    if (parser.isSet(options.exitAfter)) {
        const QString value = parser.value(options.exitAfter);
        settings.exitAfterMs = parseNumber(value);
        if (!settings.exitAfterMs)
            return QStringLiteral("--exit-after: %1 is not a number of milliseconds (0 to 2147483647)")
                .arg(quoted(value));
    }
    const struct {
        const QCommandLineOption& option;
        int& value;
        int most;
    } counts[] = {{options.keepLast, settings.keptMinutes, 1440}, {options.saveMost, settings.mostSaved, 9999}};
    for (const auto& [option, value, most] : counts) {
        if (!parser.isSet(option))
            continue;
        value = parseNumber(parser.value(option)).value_or(0);
        if (value < 1 || value > most)
            return QStringLiteral("--%1: %2 is not a number from 1 to %3")
                .arg(option.names().constFirst(), quoted(parser.value(option)))
                .arg(most);
    }
    if (parser.isSet(options.speed)) {
        const QString value = parser.value(options.speed);
        const std::optional<double> speed = parseSpeed(value);
        if (!speed)
            return QStringLiteral("--speed: %1 is not a number from 0.01 to 1000").arg(quoted(value));
        settings.speed = *speed;
    }
    return QString();
}

// Options that exclude each other.
QString findContradiction(const QCommandLineParser& parser, const Options& options) {
    const bool replays = parser.isSet(options.replay);
    for (const QCommandLineOption* const input :
         {&options.record, &options.keepLast, &options.demo, &options.keypad}) {
        if (replays && parser.isSet(*input))
            return QStringLiteral("--replay takes the place of the operator: it does not go together with --%1")
                .arg(input->names().constFirst());
    }
    for (const QCommandLineOption* const ofReplay : {&options.speed, &options.exitAtEnd})
        if (!replays && parser.isSet(*ofReplay))
            return QStringLiteral("--%1 is for --replay only").arg(ofReplay->names().constFirst());
    for (const QCommandLineOption* const ofSaving : {&options.saveTo, &options.saveMost})
        if (!parser.isSet(options.keepLast) && parser.isSet(*ofSaving))
            return QStringLiteral("--%1 is for --keep-last only").arg(ofSaving->names().constFirst());
    return QString();
}

CommandLine readSettings(const QCommandLineParser& parser, const Options& options) {
    CommandLine settings;
    settings.print = parser.isSet(options.print);
    settings.demo = parser.isSet(options.demo);
    settings.exitAtEnd = parser.isSet(options.exitAtEnd);
    for (const QString& problem : {readTexts(parser, options, settings), readNumbers(parser, options, settings),
                                   findContradiction(parser, options)})
        if (!problem.isEmpty())
            return refuse(problem);
    return settings;
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    const Options options;
    options.addTo(parser);

    if (!parser.parse(arguments))
        return refuse(whatIsWrong(parser));
    if (parser.isSet(options.help))
        return inform(parser.helpText() + QLatin1Char('\n') + examples);
    if (parser.isSet(options.version))
        return inform(QStringLiteral("kxterminal " KXTERMINAL_VERSION "\n"));
    if (!parser.positionalArguments().isEmpty())
        return refuse(QStringLiteral("unexpected argument ") + quoted(parser.positionalArguments().first()));
    return readSettings(parser, options);
}

} // namespace Terminal
