#pragma once

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <vector>

namespace cobblet {

/// Finds the files of named icons in this user's icon themes. The toolkit's own theme loader belongs to the main
/// thread; this one answers on any thread and decodes nothing. A theme is read when it is first searched.
class IconFiles {
public:
    /// The themes to search; what these inherit and "hicolor" follow by themselves.
    explicit IconFiles(QStringList themes) : m_startThemes(std::move(themes)) {}

    /// The best file for an icon of `pixels` pixels a side: one of exactly that size, else a scalable one, else the
    /// smallest larger one, else the largest; from the first theme that has any. Empty when there is none.
    QString find(const QString &name, int pixels) const;
    /// Whether any theme is installed.
    bool hasTheme() const;
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

    static Theme readTheme(const QString &name);
    const Theme &theme(const QString &name) const;
    QStringList chain() const;
    static QString findIn(const Theme &theme, const QByteArray &name, int pixels);

    const QStringList m_startThemes;
    mutable QMutex m_mutex;
    mutable QHash<QString, Theme> m_themes;
};

} // namespace cobblet
