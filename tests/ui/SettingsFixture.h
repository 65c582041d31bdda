#pragma once

#include "shell/GlobalHotkeyManager.h"
#include "support/GroupsFixture.h"
#include "ui/settings/SettingsViewModel.h"

namespace cobblet::test {

/// Everything the settings window needs, on the fake desktop.
struct SettingsFixture : GroupsFixture {
    SettingsDependencies dependencies()
    {
        if (!hotkeys)
            hotkeys.emplace(hotKeys, notifications, scheduler);
        return {config,     sharedDefaults, standardDefaults, notifications, dialogs,  menus,
                appearance, pasteboard,     workspace,        dockTile,      &*hotkeys};
    }
    static AppGroup named(const QString &name)
    {
        AppGroup group;
        group.name = name;
        return group;
    }

    FakeAppearance appearance;
    FakeDialogs dialogs;
    FakeMenus menus;
    FakePasteboard pasteboard;
    FakeHotKeys hotKeys;
    std::optional<GlobalHotkeyManager> hotkeys; ///< made with the dependencies
};

} // namespace cobblet::test
