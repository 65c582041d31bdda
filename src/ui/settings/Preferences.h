#pragma once

#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class UserDefaults;

/// The preferences of panel and popup as the pages bind to them. What is stored with another type or out of range
/// reads as the nearest that a page offers, and stays as it is until somebody chooses.
class Preferences : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.preferences is the one instance.")
    Q_PROPERTY(QString panelTheme READ panelTheme WRITE setPanelTheme NOTIFY changed)
    Q_PROPERTY(bool glassyStyle READ glassyStyle WRITE setGlassyStyle NOTIFY changed)
    Q_PROPERTY(int columns READ columns WRITE setColumns NOTIFY changed)
    Q_PROPERTY(int maxRows READ maxRows WRITE setMaxRows NOTIFY changed)
    Q_PROPERTY(bool showsTitles READ showsTitles WRITE setShowsTitles NOTIFY changed)
    Q_PROPERTY(bool showsMostUsed READ showsMostUsed WRITE setShowsMostUsed NOTIFY changed)
    Q_PROPERTY(QString anchor READ anchor WRITE setAnchor NOTIFY changed)
    Q_PROPERTY(QList<int> columnChoices READ columnChoices CONSTANT)
    Q_PROPERTY(QList<int> rowChoices READ rowChoices CONSTANT)
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)
    Q_PROPERTY(QString failedSetting READ failedSetting NOTIFY failureChanged)
public:
    /// The defaults are those that agents read too, and outlive the object.
    explicit Preferences(UserDefaults &sharedDefaults, QObject *parent = nullptr);

    /// "system", "light" or "dark".
    QString panelTheme() const;
    bool glassyStyle() const;
    /// 0 is automatic.
    int columns() const;
    int maxRows() const;
    bool showsTitles() const;
    bool showsMostUsed() const;
    /// "dockCenter" or "dockIcon".
    QString anchor() const;

    void setPanelTheme(const QString &theme);
    void setGlassyStyle(bool glassy);
    void setColumns(int columns);
    void setMaxRows(int rows);
    void setShowsTitles(bool shows);
    void setShowsMostUsed(bool shows);
    void setAnchor(const QString &anchor);

    /// 0 first, which is "Auto".
    static QList<int> columnChoices();
    static QList<int> rowChoices();

    /// Why the last change could not be kept; empty when it was.
    const QString &failure() const { return m_failure; }
    /// The setting of the catalogue that could not be kept; empty when there is none.
    const QString &failedSetting() const { return m_failedSetting; }

signals:
    void changed();
    void failureChanged();

private:
    /// `setting` is the catalogue's name, where that is not the key.
    void store(const char *key, const QVariant &value, const QString &setting = {});

    UserDefaults &m_defaults;
    QString m_failure, m_failedSetting;
};

} // namespace cobblet
