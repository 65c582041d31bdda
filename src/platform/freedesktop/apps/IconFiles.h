#pragma once

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <vector>

namespace cobblet {

/// Finds the files of named icons in the icon themes. The toolkit's own theme loader belongs to the main
/// thread; this one answers on any thread and decodes nothing. A theme is read when it is first searched.
class IconFiles {
public:
    /// Base folders of themes and folders of unthemed pictures, each in order of precedence, and the themes to
    /// search; what these inherit and "hicolor" follow by themselves.
    IconFiles(QStringList baseFolders, QStringList pictureFolders, QStringList themes);
    /// Of this user, in the themes given.
    static QStringList defaultBaseFolders();
    static QStringList defaultPictureFolders();

    /// The best file for an icon of `pixels` pixels a side: one of exactly that size, else a scalable one, else the
    /// smallest larger one, else the largest; from the first theme that has any. Empty when there is none.
    QString find(const QString &name, int pixels) const;
    /// Reads the themes again on the next look-up.
    void forget();

private:
    struct Folder {
        QByteArray path;
        int pixels;
        bool scalable;
        bool ofApplications;
    };
    struct Theme {
        std::vector<Folder> folders;
        QStringList inherits;
    };

    Theme readTheme(const QString &name) const;
    const Theme &theme(const QString &name) const;
    QStringList chain() const;
    static QString findIn(const Theme &theme, const QByteArray &name, int pixels);

    const QStringList m_baseFolders;
    const QStringList m_pictureFolders;
    const QStringList m_startThemes;
    mutable QMutex m_mutex;
    mutable bool m_saidUseless = false;
    mutable QHash<QString, Theme> m_themes;
};

} // namespace cobblet
