#pragma once

#include "control/GroupSuggestionService.h"
#include "integration/Diagnostics.h"
#include "shell/GlobalHotkeyManager.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/GroupsFixture.h"
#include "ui/settings/GroupDrafts.h"
#include "ui/settings/SettingsViewModel.h"

namespace cobblet::test {

/// Everything the settings window needs, on the fake desktop.
struct SettingsFixture : GroupsFixture {
    SettingsDependencies dependencies()
    {
        if (!hotkeys)
            hotkeys.emplace(hotKeys, notifications, scheduler);
        return {config,        sharedDefaults, standardDefaults,
                notifications, dialogs,        menus,
                appearance,    workspace,      icons,
                groupIcons,    running,        distributed,
                pasteboard,    dockTile,       &*hotkeys,
                scheduler,     suggestions,    [this]() -> Diagnostics & { return diagnostics; }};
    }

    FakeAppearance appearance;
    FakeDialogs dialogs;
    FakeMenus menus;
    FakeDistributedNotifications distributed;
    FakePasteboard pasteboard;
    FakeHotKeys hotKeys;
    std::optional<GlobalHotkeyManager> hotkeys; ///< made with the dependencies
    IconProvider icons{workspace, 1};
    GroupIconProvider groupIcons{icons, workspace};
    GroupDrafts drafts{config};
    GroupSuggestionService suggestions{usage, config, workspace, standardDefaults, scheduler};
    Diagnostics diagnostics{{}, {running, workspace, scheduler}, u"1.0"_s};
};

} // namespace cobblet::test
