#include "terminal/session/PictureFile.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageWriter>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Terminal {

PictureFile::PictureFile(QString file) : path(std::move(file)) {}

QString PictureFile::whyUnusable() const {
    const QByteArray name = path.toLocal8Bit();
    constexpr mode_t accessAsUsual = 0666;
    // Without waiting for the reader of a pipe, who may come later (ENXIO).
    int descriptor = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, accessAsUsual);
    const bool isMade = descriptor >= 0;
    if (!isMade && errno == EEXIST)
        descriptor = open(name.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return errno == ENXIO ? QString() : failure(QString::fromLocal8Bit(std::strerror(errno)));
    close(descriptor);
    if (isMade)
        unlink(name.constData());
    return QString();
}

// In memory first: of a file that fails, the writer of pictures tells no reason.
QString PictureFile::write(const QImage& picture) const {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "PNG");
    if (!writer.write(picture))
        return failure(writer.errorString());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        return failure(file.errorString());
    return QString();
}

QString PictureFile::failure(const QString& reason) const {
    return QStringLiteral("--screenshot: cannot write %1: %2").arg(path, reason);
}

} // namespace Terminal
