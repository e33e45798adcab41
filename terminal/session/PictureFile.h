#pragma once

#include <QString>

class QImage;

namespace Terminal {

/// The file of --screenshot.
class PictureFile {
public:
    explicit PictureFile(QString path);

    /// Tries whether the file can be written, and leaves things as they are.
    /// \return why not, in one line; empty: it can
    QString whyUnusable() const;

    /// Writes a PNG.
    /// \return why it failed, in one line; empty: it did not
    QString write(const QImage& picture) const;

private:
    QString failure(const QString& reason) const;

    const QString path;
};

} // namespace Terminal
