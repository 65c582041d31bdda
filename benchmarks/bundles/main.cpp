// What it takes to make a group an application of its own, whole and step by step, with the real tools; beside the
// least that it could be: a copy of the same bundle by cp, the same icon, and the hash of every byte.
//
//   cobblet_bench_bundles BUNDLE [ROUNDS]
//
// prints one line of JSON: the milliseconds of each step, one sample for each round.
#include "model/Identifiers.h"
#include "platform/AtomicFile.h"
#include "platform/FileTree.h"
#include "platform/freedesktop/FreedesktopBundleTools.h"
#include "platform/freedesktop/apps/DesktopEntryRegistry.h"
#include "standalone/BundleBuilder.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <nettle/sha2.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

using namespace cobblet;

namespace {

using Json = nlohmann::ordered_json;

void need(bool done, const QString &otherwise)
{
    if (!done)
        qFatal("%s", qPrintable(otherwise));
}

template<class Cause>
void need(const Result<void, Cause> &status)
{
    need(status.ok(), status.error());
}

/// A new group with an emoji that was not drawn before, as that of a person's group.
AppGroup nextGroup(const QUuid &id)
{
    static char32_t emoji = U'🐀'; // and the 252 that follow it without a gap
    AppGroup group;
    group.id = id;
    group.name = QStringLiteral("Some Work");
    group.emoji = QString::fromUcs4(&emoji, 1);
    ++emoji;
    for (int number = 5; number < 16; ++number)
        group.apps.append({QStringLiteral("Program %1").arg(number),
                           QStringLiteral("org.example.Program%1").arg(number, 2, 10, QLatin1Char('0'))});
    return group;
}

void hashAll(const QString &folder)
{
    static QByteArray buffer(128 * 1024, Qt::Uninitialized);
    for (QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        need(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered), file.errorString());
        sha256_ctx context;
        sha256_init(&context);
        for (qint64 size = 0; (size = file.read(buffer.data(), buffer.size())) > 0;)
            sha256_update(&context, size_t(size), reinterpret_cast<const uint8_t *>(buffer.constData()));
        uint8_t digest[SHA256_DIGEST_SIZE];
        sha256_digest(&context, sizeof digest, digest);
    }
}

class Bench {
public:
    explicit Bench(const QString &source) : m_source(source) { QDir().mkpath(m_agents); }

    const Json &samples() const { return m_samples; }
    void forget() { m_samples.clear(); }

    void round()
    {
        floor();
        whole();
        steps();
        need(removeTree(m_destination));
    }

private:
    /// Each begins with nothing left to be written to the disk, which its own flushing would wait for.
    template<class Step>
    double timed(const char *name, Step step)
    {
        const int disk = ::open(QFile::encodeName(m_folder.path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::syncfs(disk);
        ::close(disk);
        const auto before = std::chrono::steady_clock::now();
        step();
        const double taken =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before).count();
        m_samples[name].push_back(taken);
        return taken;
    }

    void run(const QString &program, const QStringList &arguments)
    {
        const auto end = m_runner.run({.program = program, .arguments = arguments, .keepsOutput = true});
        need(end.ok(), end.error());
        need(end.value().status == 0, end.value().output);
    }

    void icon(const QString &bundle)
    {
        const AppGroup group = nextGroup(m_id);
        const QString file = bundle + QStringLiteral("/Contents/Resources/AppIcon.icns");
        need(writeAtomically(file, encodeIconFile(m_groupIcons.images(group))));
    }

    void floor()
    {
        const QString copy = m_folder.filePath(QStringLiteral("Floor.app"));
        double sum = timed("floor copy", [&] {
            run(QStringLiteral("/bin/cp"), {QStringLiteral("-a"), m_source, copy});
        });
        sum += timed("floor icon", [&] { icon(copy); });
        sum += timed("floor hash", [&] { hashAll(copy); });
        m_samples["floor"].push_back(sum);
        need(removeTree(copy));
    }

    /// As the program makes it, and makes it again once the group has changed.
    void whole()
    {
        for (const char *kind : {"first", "rebuild"}) {
            const AppGroup group = nextGroup(m_id);
            const std::string name = kind;
            double sum = timed(kind, [&] { need(m_builder.sync(group, m_destination)); });
            sum += timed((name + " register").c_str(), [&] { m_builder.registerBundle(m_destination, group); });
            m_samples[name + " whole"].push_back(sum);
        }
        need(m_registry.registered(identifier::agentPrefix) == QStringList(agentIdentifier(m_id)),
             QStringLiteral("The application was not registered."));
        need(m_registry.unregisterBundle(agentIdentifier(m_id)));
    }

    void steps()
    {
        const auto staging = m_builder.folder().makeStaging();
        need(staging.ok(), m_agents);
        const QString bundle = staging.value() + QStringLiteral("/Cobblet.app");
        timed("copy", [&] { need(copyTree(m_source, bundle)); });
        timed("prepare", [&] { need(m_builder.prepare(bundle, nextGroup(m_id))); });
        timed("icon", [&] { icon(bundle); });
        timed("sign", [&] { need(m_builder.sign(bundle)); });
        timed("verify", [&] {
            run(m_builder.tools().codesign, {QStringLiteral("--verify"), QStringLiteral("--strict"), bundle});
        });
        timed("keep", [&] { need(m_builder.folder().keep(staging.value(), m_destination)); });
        outdate(m_destination, bundle);
        timed("rsync", [&] {
            run(m_builder.tools().rsync, {QStringLiteral("-a"), QStringLiteral("--delete"), bundle + QLatin1Char('/'),
                                          m_destination + QLatin1Char('/')});
        });
        const QString moved = m_folder.filePath(QStringLiteral("Moved.app"));
        timed("move", [&] { need(moveTree(bundle, moved)); });
        timed("clear", [&] { need(removeTree(staging.value())); });
        need(removeTree(moved));
    }

    const QTemporaryDir m_folder;
    const QString m_source;
    const QString m_agents = m_folder.filePath(QStringLiteral("Cobblet Groups"));
    const QString m_destination = m_agents + QStringLiteral("/Some Work.app");
    const QUuid m_id = QUuid::createUuid();
    test::FakeWorkspace m_workspace;
    IconProvider m_icons{m_workspace, 1};
    GroupIconProvider m_groupIcons{m_icons, m_workspace};
    DesktopEntryRegistry m_registry;
    BundleBuilder m_builder{{m_source, QStringLiteral("1"), AgentsFolder(m_agents),
                             freedesktop::bundleTools(m_source), m_registry, m_groupIcons}};
    ToolRunner m_runner;
    Json m_samples;
};

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir data;
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    const int rounds = arguments.size() > 2 ? arguments[2].toInt() : 15;
    if (arguments.size() < 2 || rounds < 1 || rounds > 50) {
        std::fputs("usage: cobblet_bench_bundles BUNDLE [ROUNDS, at most 50]\n", stderr);
        return 2;
    }
    Bench bench(QDir(arguments[1]).absolutePath());
    bench.round();
    bench.forget();
    for (int round = 0; round < rounds; ++round)
        bench.round();
    const Json result = {{"label", "bundle"}, {"kind", "bundle"}, {"rounds", rounds}, {"samples", bench.samples()}};
    std::puts(result.dump().c_str());
    return 0;
}
