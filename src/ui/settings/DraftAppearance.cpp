#include "ui/settings/DraftAppearance.h"

#include <tuple>

namespace cobblet {

namespace {

/// Each field in the draft and in the group.
constexpr std::tuple fields{std::pair(&DraftAppearance::name, &AppGroup::name),
                            std::pair(&DraftAppearance::emoji, &AppGroup::emoji),
                            std::pair(&DraftAppearance::iconStyle, &AppGroup::iconStyle),
                            std::pair(&DraftAppearance::iconColor, &AppGroup::iconColor),
                            std::pair(&DraftAppearance::iconFill, &AppGroup::iconFill),
                            std::pair(&DraftAppearance::apps, &AppGroup::apps),
                            std::pair(&DraftAppearance::popupColumns, &AppGroup::popupColumns),
                            std::pair(&DraftAppearance::popupMaxRows, &AppGroup::popupMaxRows),
                            std::pair(&DraftAppearance::popupShowsTitles, &AppGroup::popupShowsTitles),
                            std::pair(&DraftAppearance::popupAnchor, &AppGroup::popupAnchor)};

template<class Do>
void forEachField(Do &&action)
{
    std::apply([&action](const auto &...field) { (action(field.first, field.second), ...); }, fields);
}

} // namespace

DraftAppearance DraftAppearance::of(const AppGroup &group)
{
    DraftAppearance draft;
    forEachField([&](auto own, auto stored) { draft.*own = group.*stored; });
    return draft;
}

AppGroup DraftAppearance::appliedTo(AppGroup group) const
{
    forEachField([&](auto own, auto stored) { group.*stored = this->*own; });
    return group;
}

void DraftAppearance::follow(const DraftAppearance &base, const DraftAppearance &now)
{
    forEachField([&](auto field, auto) {
        if (this->*field == base.*field)
            this->*field = now.*field;
    });
}

} // namespace cobblet
