#include "terminal/CommandLine.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace {

const auto description = QStringLiteral(
    "An operator terminal in a window: feeds keys, mouse, touch and wheel to the event layer and shows the\n"
    "classified events. QT_QPA_PLATFORM chooses where it draws: xcb, offscreen, linuxfb, ...");

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
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Show the version.")};

    void addTo(QCommandLineParser& parser) const {
        parser.addOptions({print, canBus, keypad, exitAfter, screenshot, demo, help, version});
    }
};

QString quoted(const QString& text) {
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// What the user typed goes into the message, and may have line ends in it; the message is one line all the same.
QString asOneLine(QString text) {
    for (QChar& character : text) {
        if (!character.isPrint())
            character = QLatin1Char('?');
    }
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

std::optional<int> parseMilliseconds(const QString& text) {
    // toInt alone would take signs and blanks.
    for (const QChar character : text) {
        if (character < QLatin1Char('0') || character > QLatin1Char('9'))
            return std::nullopt;
    }
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional<int>(number) : std::nullopt;
}

CommandLine readSettings(const QCommandLineParser& parser, const Options& options) {
    CommandLine settings;
    settings.print = parser.isSet(options.print);
    settings.demo = parser.isSet(options.demo);
    if (parser.isSet(options.exitAfter)) {
        const QString value = parser.value(options.exitAfter);
        settings.exitAfterMs = parseMilliseconds(value);
        if (!settings.exitAfterMs)
            return refuse(QStringLiteral("--exit-after: %1 is not a number of milliseconds (0 to 2147483647)")
                              .arg(quoted(value)));
    }
    if (parser.isSet(options.screenshot)) {
        settings.screenshotFile = parser.value(options.screenshot);
        if (settings.screenshotFile.isEmpty())
            return refuse(QStringLiteral("--screenshot: the file name is empty"));
    }
    if (parser.isSet(options.canBus)) {
        settings.canBus = parser.value(options.canBus);
        if (settings.canBus->isEmpty())
            return refuse(QStringLiteral("--can-bus: the name of the bus is empty"));
    }
    if (parser.isSet(options.keypad)) {
        settings.keypadFile = parser.value(options.keypad);
        if (settings.keypadFile.isEmpty())
            return refuse(QStringLiteral("--keypad: the file name is empty"));
    }
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
        return inform(parser.helpText());
    if (parser.isSet(options.version))
        return inform(QStringLiteral("kxterminal " KXTERMINAL_VERSION "\n"));
    if (!parser.positionalArguments().isEmpty())
        return refuse(QStringLiteral("unexpected argument ") + quoted(parser.positionalArguments().first()));
    return readSettings(parser, options);
}
