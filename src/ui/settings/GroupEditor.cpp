#include "ui/settings/GroupEditor.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "model/Notifications.h"
#include "platform/Dialogs.h"
#include "platform/DistributedNotifications.h"
#include "platform/RunningApplications.h"
#include "platform/Workspace.h"
#include "standalone/AgentGroup.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "ui/common/AppFiles.h"
#include "ui/common/DisplayText.h"
#include "ui/settings/GroupDrafts.h"
#include "ui/settings/Preferences.h"

#include <QPointer>

#include <algorithm>

namespace cobblet {

namespace {

using namespace Qt::StringLiterals;

/// "Global", then the counts that the page of the popup offers.
QStringList labels(const QList<int> &counts)
{
    QStringList labels{u"Global"_s};
    for (const int count : counts)
        labels.append(count == 0 ? u"Auto"_s : QString::number(count));
    return labels;
}

/// The place among labels() of what a group has, or of the nearest to it.
int placeOf(const std::optional<int> &value, const QList<int> &counts)
{
    if (!value)
        return 0;
    const auto distance = [wanted = std::clamp(*value, 0, 1000)](int count) { return std::abs(count - wanted); };
    return 1 + int(std::ranges::min_element(counts, {}, distance) - counts.begin());
}

std::optional<int> valueAt(int place, const QList<int> &counts)
{
    return place > 0 && place <= counts.size() ? std::optional(counts[place - 1]) : std::nullopt;
}

} // namespace

GroupEditor::GroupEditor(const Services &services)
    : m_services(services), m_apps(m_services.workspace), m_preview(m_services.groupIcons)
{
    connect(&m_services.drafts, &GroupDrafts::changed, this, [this](const QUuid &group) {
        if (group == m_group)
            show();
    });
    connect(&m_services.config, &ConfigManager::groupsChanged, this, &GroupEditor::show);
    connect(&m_services.preferences, &Preferences::changed, this, &GroupEditor::changed);
    connect(&m_services.icons, &IconProvider::iconsChanged, &m_preview, &GroupPreview::redraw);
}

void GroupEditor::open(const QUuid &group)
{
    if (m_group == group)
        return;
    m_group = group;
    m_appliedNotice.clear();
    m_colorFailure.clear();
    show();
    emit opened();
}

void GroupEditor::show()
{
    const AppGroup *stored = m_services.config.group(m_group);
    if (!stored)
        return; // the page closes
    const DraftAppearance draft = this->draft();
    m_apps.update(draft.apps);
    m_preview.show(draft.appliedTo(*stored));
    emit changed();
}

DraftAppearance GroupEditor::draft() const
{
    return m_services.drafts.draft(m_group);
}

template<class Change>
void GroupEditor::edit(Change change)
{
    DraftAppearance draft = this->draft();
    change(draft);
    m_appliedNotice.clear();
    m_services.drafts.set(m_group, draft);
}

QString GroupEditor::name() const
{
    return draft().name;
}

QString GroupEditor::emoji() const
{
    return displayText(draft().emoji);
}

bool GroupEditor::isGrid() const
{
    return draft().iconStyle == GroupIconStyle::Grid;
}

QString GroupEditor::iconColor() const
{
    AppGroup group;
    group.iconColor = draft().iconColor;
    return tileColor(group).name().toUpper();
}

bool GroupEditor::hasIconColor() const
{
    return draft().iconColor.has_value();
}

QStringList GroupEditor::columnChoices() const
{
    return labels(Preferences::columnChoices());
}

QStringList GroupEditor::rowChoices() const
{
    return labels(Preferences::rowChoices());
}

int GroupEditor::columns() const
{
    return placeOf(draft().popupColumns, Preferences::columnChoices());
}

int GroupEditor::maxRows() const
{
    return placeOf(draft().popupMaxRows, Preferences::rowChoices());
}

bool GroupEditor::showsTitles() const
{
    return draft().popupShowsTitles.value_or(m_services.preferences.showsTitles());
}

int GroupEditor::position() const
{
    const auto anchor = draft().popupAnchor;
    return !anchor ? 0 : *anchor == PopupAnchor::DockCenter ? 1 : 2;
}

void GroupEditor::setName(const QString &name)
{
    edit([&](DraftAppearance &draft) { draft.name = name; });
}

void GroupEditor::setEmoji(const QString &emoji)
{
    if (!emoji.trimmed().isEmpty())
        edit([&](DraftAppearance &draft) { draft.emoji = emoji.trimmed(); });
}

void GroupEditor::setGrid(bool grid)
{
    edit([&](DraftAppearance &draft) { draft.iconStyle = grid ? GroupIconStyle::Grid : GroupIconStyle::Emoji; });
}

void GroupEditor::setColumns(int choice)
{
    edit([&](DraftAppearance &draft) { draft.popupColumns = valueAt(choice, Preferences::columnChoices()); });
}

void GroupEditor::setMaxRows(int choice)
{
    edit([&](DraftAppearance &draft) { draft.popupMaxRows = valueAt(choice, Preferences::rowChoices()); });
}

void GroupEditor::setShowsTitles(bool shows)
{
    edit([&](DraftAppearance &draft) { draft.popupShowsTitles = shows; });
}

void GroupEditor::setPosition(int position)
{
    edit([&](DraftAppearance &draft) {
        draft.popupAnchor = position == 1   ? std::optional(PopupAnchor::DockCenter)
                            : position == 2 ? std::optional(PopupAnchor::DockIcon)
                                            : std::nullopt;
    });
}

void GroupEditor::setIconColor(const QString &text, bool isTyping)
{
    const auto color = hexColor(text);
    if (!color && isTyping)
        return;
    m_colorFailure =
        color ? QString()
              : u"“%1” is no color: type six digits from 0 to F, such as #1E90FF."_s.arg(displayText(text.left(20)));
    if (color && color->name().toUpper() != iconColor())
        setColor(m_group, color->name().toUpper());
    emit changed();
}

void GroupEditor::resetIconColor()
{
    m_colorFailure.clear();
    setColor(m_group, {});
    emit changed();
}

void GroupEditor::setColor(const QUuid &group, const std::optional<QString> &color)
{
    DraftAppearance draft = m_services.drafts.draft(group);
    draft.iconColor = color;
    if (group == m_group)
        m_appliedNotice.clear();
    m_services.drafts.set(group, draft);
}

void GroupEditor::chooseIconColor()
{
    const auto before = draft().iconColor;
    m_services.dialogs.chooseColor(
        u"Tile color"_s, QColor(iconColor()),
        [self = QPointer(this), group = m_group, before](const std::optional<QColor> &color) {
            if (!self)
                return;
            self->m_colorFailure.clear();
            self->setColor(group, color ? color->name().toUpper() : before);
        });
}

AppChooser *GroupEditor::makeChooser(QObject *parent)
{
    const auto add = [self = QPointer(this), group = m_group](const QList<AppItem> &apps) {
        if (self)
            self->addApps(group, apps);
    };
    return new AppChooser(
        m_services.workspace, add,
        [&dialogs = m_services.dialogs, &workspace = m_services.workspace, add] {
            chooseAppFiles(dialogs, workspace, add);
        },
        parent);
}

void GroupEditor::addApps(const QUuid &group, const QList<AppItem> &apps)
{
    DraftAppearance draft = m_services.drafts.draft(group);
    for (const AppItem &app : apps)
        if (std::ranges::find(draft.apps, app.bundleID, &AppItem::bundleID) == draft.apps.end())
            draft.apps.append(app);
    if (group == m_group)
        m_appliedNotice.clear();
    m_services.drafts.set(group, draft);
}

void GroupEditor::removeApp(int row)
{
    if (m_apps.row(row))
        edit([row](DraftAppearance &draft) { draft.apps.removeAt(row); });
}

int GroupEditor::moveApp(int from, int to)
{
    to = std::clamp(to, 0, std::max(0, m_apps.rowCount() - 1));
    if (!m_apps.row(from) || from == to)
        return from;
    m_apps.move(from, to); // first, so that the rows move and are not only written anew
    edit([from, to](DraftAppearance &draft) { draft.apps.move(from, to); });
    return to;
}

bool GroupEditor::hasChanges() const
{
    return m_services.drafts.hasDraft(m_group);
}

QString GroupEditor::refusal() const
{
    return hasChanges() && name().trimmed().isEmpty() ? u"A group needs a name that isn’t blank."_s : QString();
}

bool GroupEditor::isStandalone() const
{
    const AppGroup *group = m_services.config.group(m_group);
    return group && group->isStandalone;
}

void GroupEditor::apply()
{
    if (!hasChanges() || !refusal().isEmpty())
        return;
    m_appliedNotice.clear();
    const Status saved = m_services.drafts.apply(m_group);
    if (!saved) {
        m_appliedNotice = u"Not applied: "_s + saved.error();
    } else if (isStandalone()) {
        // Its bundle, with the icon file, is built anew by the process that keeps the agents, which follows the
        // store.
        const auto isAgent = [agent = agentIdentifier(m_group)](const RunningApplication &application) {
            return application.bundleIdentifier == agent;
        };
        const bool isPainted = std::ranges::any_of(m_services.running.runningApplications(), isAgent) &&
                               m_services.notifications.post(notification::repaintTile, uuidText(m_group));
        m_appliedNotice = isPainted
                              ? u"Applied — the Dock tile has been updated."_s
                              : u"Applied. You'll see the new tile when you open this group.\nA pinned tile may "
                                "keep its old look until then\n(or until the next login)."_s;
    }
    emit changed();
}

} // namespace cobblet
