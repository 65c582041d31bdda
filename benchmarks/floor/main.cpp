// The least that a resident Qt Quick panel costs, measured beside Cobblet with the same tool.
//
//   cobblet_bench_floor [--tiles N]          waits, hidden: Alt+Shift+9, org.freedesktop.Application.Activate on the
//                                            session bus or cobblet_bench_poke shows the panel; Escape hides it
//   cobblet_bench_floor --show [--tiles N]   shows the panel at once, and no more: the cold start

#include "Poke.h"

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QQuickImageProvider>
#include <QQuickView>
#include <QSocketNotifier>

#include <X11/keysym.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace {

// One coloured tile for each number. Qt Quick keeps what it has been given.
class TileProvider : public QQuickImageProvider {
public:
    TileProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override
    {
        const QSize tileSize = requestedSize.isEmpty() ? QSize(56, 56) : requestedSize;
        QImage tile(tileSize, QImage::Format_ARGB32_Premultiplied);
        tile.fill(Qt::transparent);
        const int number = id.toInt();
        QPainter painter(&tile);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromHsl((number * 53) % 360, 150, 120));
        painter.drawRoundedRect(QRectF(QPointF(0, 0), tileSize), 13, 13);
        painter.setBrush(QColor::fromHsl((number * 53 + 40) % 360, 180, 210));
        painter.drawEllipse(QRectF(QPointF(0, 0), tileSize).adjusted(15, 15, -15, -15));
        *size = tileSize;
        return tile;
    }
};

class Panel : public QQuickView, public QAbstractNativeEventFilter {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit Panel(int tileCount)
    {
        setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        setColor(Qt::transparent);
        engine()->addImageProvider(QStringLiteral("tiles"), new TileProvider);
        setInitialProperties({{QStringLiteral("tileCount"), tileCount}});
        setSource(QUrl(QStringLiteral("qrc:/Cobblet/Floor/FloorPanel.qml")));
        setPosition(420, 500);
    }

    void open()
    {
        show();
        raise();
        requestActivate();
    }

    bool grabKey()
    {
        auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        if (!x11)
            return false;
        xcb_connection_t *connection = x11->connection();
        const std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> symbols(
            xcb_key_symbols_alloc(connection), &xcb_key_symbols_free);
        const std::unique_ptr<xcb_keycode_t, decltype(&std::free)> codes(
            xcb_key_symbols_get_keycode(symbols.get(), XK_9), &std::free);
        if (!codes)
            return false;
        m_keyCode = codes.get()[0];
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_grab_key(connection, 0, root, XCB_MOD_MASK_1 | XCB_MOD_MASK_SHIFT, m_keyCode, XCB_GRAB_MODE_ASYNC,
                     XCB_GRAB_MODE_ASYNC);
        xcb_flush(connection);
        qGuiApp->installNativeEventFilter(this);
        return true;
    }

    bool listen()
    {
        m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const sockaddr_un address = pokeAddress();
        ::unlink(address.sun_path);
        if (bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            return false;
        connect(new QSocketNotifier(m_socket, QSocketNotifier::Read, this), &QSocketNotifier::activated, this,
                [this] {
                    char byte = 0;
                    if (recv(m_socket, &byte, sizeof byte, 0) > 0)
                        open();
                });
        return true;
    }

    bool nativeEventFilter(const QByteArray &, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_generic_event_t *>(message);
        if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
            return false;
        const auto *press = reinterpret_cast<const xcb_key_press_event_t *>(event);
        if (press->detail != m_keyCode || press->event != press->root)
            return false;
        open();
        return true;
    }

public slots:
    void Activate(const QVariantMap &) { open(); }

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Escape)
            hide();
        else
            QQuickView::keyPressEvent(event);
    }

private:
    xcb_keycode_t m_keyCode = 0;
    int m_socket = -1;
};

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    const QStringList arguments = QGuiApplication::arguments();
    const auto tilesAt = arguments.indexOf(QLatin1String("--tiles"));
    const int tileCount = tilesAt > 0 ? arguments.value(tilesAt + 1).toInt() : 12;

    Panel panel(tileCount);
    if (arguments.contains(QLatin1String("--show"))) {
        panel.open();
        return QGuiApplication::exec();
    }

    if (!panel.grabKey())
        qWarning("The key Alt+Shift+9 cannot be grabbed: only a request on the session bus shows the panel.");
    if (!panel.listen())
        qWarning("No socket in XDG_RUNTIME_DIR: cobblet_bench_poke does not show the panel.");
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/com/cobblet/floor"), &panel, QDBusConnection::ExportAllSlots) ||
        !bus.registerService(QStringLiteral("com.cobblet.floor")))
        qWarning("No session bus: only the key shows the panel.");
    return QGuiApplication::exec();
}

#include "main.moc"
