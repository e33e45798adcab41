#include "tools/kxreplay/plot/Picture.h"

#include "recording/format/Text.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/OffscreenToolkit.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace Replay::Picture {

namespace {

constexpr int dotsPerInch = 96;
constexpr int pixelRatio = 2; // for screens and printers of today

bool endsWith(const std::string& text, const std::string& ending) {
    return text.size() > ending.size() && text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

void paintWith(QPaintDevice& device, const Drawing& drawing) {
    QPainter painter(&device);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font("DejaVu Sans");
    font.setPixelSize(13);
    painter.setFont(font);
    painter.fillRect(QRect(QPoint(), drawing.size()), Qt::white);
    drawing.paint(painter);
}

void drawSVG(QBuffer& buffer, const Drawing& drawing) {
    QSvgGenerator generator;
    generator.setOutputDevice(&buffer);
    generator.setResolution(dotsPerInch);
    generator.setSize(drawing.size());
    generator.setViewBox(QRect(QPoint(), drawing.size()));
    generator.setTitle("kxreplay");
    paintWith(generator, drawing);
}

void drawPNG(QBuffer& buffer, const Drawing& drawing) {
    QImage image(drawing.size() * pixelRatio, QImage::Format_RGB32);
    image.setDevicePixelRatio(pixelRatio);
    paintWith(image, drawing);
    image.save(&buffer, "PNG");
}

void drawPDF(QBuffer& buffer, const Drawing& drawing) {
    QPdfWriter writer(&buffer);
    writer.setResolution(dotsPerInch);
    writer.setPageMargins(QMarginsF());
    writer.setPageSize(
        QPageSize(QSizeF(drawing.size()) / dotsPerInch, QPageSize::Inch, QString(), QPageSize::ExactMatch));
    paintWith(writer, drawing);
}

[[noreturn]] void fail(const std::string& file, const std::string& why) {
    throw std::runtime_error(file + ": " + why);
}

void writeFile(const std::string& file, const QByteArray& bytes) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor == -1)
        fail(file, std::strerror(errno));
    int error = 0;
    for (int written = 0; written < bytes.size() && error == 0;) {
        const ssize_t count =
            write(descriptor, bytes.constData() + written, static_cast<std::size_t>(bytes.size() - written));
        if (count >= 0)
            written += static_cast<int>(count);
        else if (errno != EINTR)
            error = errno;
    }
    if (close(descriptor) != 0 && error == 0)
        error = errno;
    if (error != 0)
        fail(file, std::strerror(error));
}

} // namespace

void checkName(const std::string& file) {
    if (!endsWith(file, ".svg") && !endsWith(file, ".png") && !endsWith(file, ".pdf"))
        throw Arguments::BadInput("--plot: " + KX::Text::quoted(file) + " does not end with .svg, .png or .pdf");
}

void checkThatItCanBeWritten(const std::string& file) {
    struct stat state {};
    const bool isThere = stat(file.c_str(), &state) == 0;
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor == -1)
        fail(file, std::strerror(errno));
    close(descriptor);
    if (!isThere)
        unlink(file.c_str());
}

void draw(const std::string& file, const Drawing& drawing) {
    std::optional<OffscreenToolkit> toolkit;
    if (!QCoreApplication::instance())
        toolkit.emplace();
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (endsWith(file, ".svg"))
        drawSVG(buffer, drawing);
    else if (endsWith(file, ".pdf"))
        drawPDF(buffer, drawing);
    else
        drawPNG(buffer, drawing);
    writeFile(file, buffer.data());
}

} // namespace Replay::Picture
