#include "standalone/AgentGroup.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "model/Identifiers.h"
#include "platform/AtomicFile.h"
#include "platform/Bundle.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace cobblet {

namespace {

/// A group of ten thousand applications takes one of them.
constexpr qint64 maximumConfigBytes = 4 * 1024 * 1024;
/// What most file systems take for a name, less ".app" and the mark of a temporary file.
constexpr qsizetype maximumNameBytes = 240;

bool isAllowed(char32_t c)
{
    const bool isSpace = QChar::category(c) == QChar::Separator_Space || c == U'\t';
    return QChar::isLetterOrNumber(c) || QChar::isMark(c) || isSpace || c == U'-' || c == U'_';
}

/// A character as people see it: what follows a letter as a mark or is joined to it belongs to it.
QStringList graphemes(const QString &text)
{
    QStringList list;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype from = 0, to = 0; (to = finder.toNextBoundary()) > 0; from = to)
        list.append(text.mid(from, to - from));
    return list;
}

} // namespace

QByteArray encode(const AgentGroupConfig &config)
{
    return "{\"group\":" + encodeGroup(config.group) + '}';
}

Result<AgentGroupConfig> decodeAgentGroupConfig(const QByteArray &json)
{
    const auto group = decodeGroup(json, "group");
    if (!group)
        return group.cause();
    return AgentGroupConfig{group.value()};
}

Result<AgentGroupConfig> readAgentGroupConfig(const QString &bundle)
{
    const QString path = bundle + QStringLiteral("/Contents/Resources/group-config.json");
    const auto bytes = readBounded(path, maximumConfigBytes);
    if (!bytes)
        return bytes.cause();
    const auto config = decodeAgentGroupConfig(bytes.value());
    if (!config)
        return Error{QStringLiteral("The file “%1” describes no group: %2").arg(path, config.error())};
    return config.value();
}

QString agentIdentifier(const QUuid &group)
{
    return identifier::agentPrefix + uuidText(group);
}

std::optional<QUuid> groupOfAgent(const QString &identifier)
{
    return isAgentIdentifier(identifier) ? parseUuid(identifier.mid(identifier::agentPrefix.size())) : std::nullopt;
}

Result<AppGroup> ownGroup(const Bundle &bundle, const ConfigManager &store)
{
    const auto config = readAgentGroupConfig(bundle.path);
    if (!config)
        return config.cause();
    const AppGroup &held = config.value().group;
    if (agentIdentifier(held.id) != bundle.identifier)
        return Error{QStringLiteral("“%1” holds the group of another application.").arg(bundle.path)};
    const AppGroup *stored = store.group(held.id);
    return stored ? *stored : held;
}

QString safeBundleName(const AppGroup &group)
{
    QString name;
    for (const QString &character : graphemes(group.name)) {
        const auto codes = character.toUcs4();
        if (std::all_of(codes.begin(), codes.end(), [](uint c) { return isAllowed(c); }))
            name.append(character);
    }
    name = name.trimmed();
    while (name.toUtf8().size() > maximumNameBytes)
        name.chop(name.size() > 1 && name.back().isLowSurrogate() ? 2 : 1);
    name = name.trimmed();
    return name.isEmpty() || name.startsWith(QLatin1Char('.')) ? uuidText(group.id) : name;
}

} // namespace cobblet
