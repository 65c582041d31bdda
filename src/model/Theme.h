#pragma once

#include <QColor>
#include <QObject>

namespace cobblet {

class Appearance;
class UserDefaults;

enum class ColorScheme { Light, Dark };

/// The colour tokens that every view of the panel draws with. All colours are sRGB with opacity.
struct CBTheme {
    struct Shadow {
        QColor color;
        double radius = 0; ///< points
        double y = 0;      ///< points downwards

        bool operator==(const Shadow &) const = default;
    };

    QColor text;                  ///< primary text
    QColor text2;                 ///< secondary text
    QColor text3;                 ///< tertiary text, placeholders
    QColor panelBG;               ///< panel background; the tint of the material in the glassy palettes
    bool panelIsMaterial = false; ///< the background is translucent and blurs what lies beneath it
    QColor sidebarBG;
    QColor selBG;     ///< selected row
    QColor hoverBG;   ///< hovered row
    QColor hairline;  ///< separators
    QColor kbd;       ///< keyboard-shortcut hints
    QColor toolHover; ///< hovered tool button
    QColor border;    ///< panel and cell borders
    Shadow selShadow; ///< under the selected row

    bool operator==(const CBTheme &) const = default;

    /// The opacity of the material's tint where nothing blurs what lies beneath it: secondary text is then read over
    /// anything about as well as in the solid palettes.
    static constexpr double unblurredTint = 0.97;

    /// The four palettes, made on first use.
    static const CBTheme &palette(ColorScheme scheme, bool glassy);
};

/// Which palette a window draws with: the panel by the stored choice, any other by the desktop's appearance.
class ThemeManager : public QObject {
    Q_OBJECT
public:
    /// The panel's.
    ThemeManager(UserDefaults &sharedDefaults, Appearance &appearance, QObject *parent = nullptr);
    /// Of a window that follows the desktop's appearance: a solid palette.
    explicit ThemeManager(Appearance &appearance, QObject *parent = nullptr);

    ColorScheme effectiveScheme() const { return m_scheme; }
    bool glassyStyle() const { return m_glassy; }
    const CBTheme &theme() const { return CBTheme::palette(m_scheme, m_glassy); }

    /// Reads the choice and the appearance again. Also to be called when the application has launched.
    void refresh();

signals:
    /// The scheme or the style is another one than before.
    void changed();

private:
    UserDefaults *m_defaults = nullptr; ///< null: there is no choice
    Appearance &m_appearance;
    ColorScheme m_scheme = ColorScheme::Light;
    bool m_glassy = false;
};

/// Carries the choice of earlier versions over from the standard domain, where the shared one has none yet, and
/// registers what is the default. Before a ThemeManager is made.
void migrateThemePreferences(const UserDefaults &standardDefaults, UserDefaults &sharedDefaults);

} // namespace cobblet
