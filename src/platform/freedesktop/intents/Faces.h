#pragma once

#include "platform/IntentsHost.h"
#include "platform/freedesktop/intents/BusService.h"

namespace cobblet {

/// What the interfaces hand their calls to. It outlives them.
struct Faces {
    BusService &service;
    QString icon;                       ///< the program's, as a name in the icon theme
    IntentRequests *requests = nullptr; ///< there before a method that needs the program is called
    QString runnerToken = {};           ///< announced for the Run that follows
};

/// com.vantor.cobblet.Groups: for scripts and other programs.
BusInterface groupsFace(Faces &faces);
/// com.vantor.cobblet.CommandLine: what a command line asks of the running instance.
BusInterface commandLineFace(Faces &faces);
/// org.gnome.Shell.SearchProvider2: a desktop's search, asked at each typed letter.
BusInterface searchProviderFace(Faces &faces);
/// org.kde.krunner1: the same for another desktop.
BusInterface runnerFace(Faces &faces);

constexpr char groupsInterfaceName[] = "com.vantor.cobblet.Groups";
constexpr char groupsChangedNotice[] = "GroupsChanged";

/// Answers with `reply`, or with the error that stands for the failure.
void answer(const BusCall &call, const IntentResult &result,
            const std::function<QVariantList(const IntentReply &)> &reply);

} // namespace cobblet
