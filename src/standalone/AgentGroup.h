#pragma once

#include "model/AppGroup.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QString>

namespace cobblet {

class ConfigManager;
struct Bundle;

/// What the bundle of a group holds in "group-config.json".
struct AgentGroupConfig {
    AppGroup group;
};

QByteArray encode(const AgentGroupConfig &config);
/// `json` from outside: the error says what is wrong with it.
Result<AgentGroupConfig> decodeAgentGroupConfig(const QByteArray &json);
/// The one of a bundle; larger files than any group makes are not read.
Result<AgentGroupConfig> readAgentGroupConfig(const QString &bundle);

/// The identifier of a group's bundle: "com.cobblet.agent." and the id in upper case.
QString agentIdentifier(const QUuid &group);
/// The group that an identifier belongs to; absent when it is no group's.
std::optional<QUuid> groupOfAgent(const QString &identifier);

/// The group that a bundle is the application of, as the store has it where it does; an error when the bundle holds
/// none, or another one's.
Result<AppGroup> ownGroup(const Bundle &bundle, const ConfigManager &store);

/// The file name of a group's bundle, less ".app": the letters, digits, white space, "-" and "_" of its name, or the
/// id where those make no name.
QString safeBundleName(const AppGroup &group);

} // namespace cobblet
