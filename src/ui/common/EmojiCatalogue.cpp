#include "ui/common/EmojiCatalogue.h"

#include <array>

namespace cobblet {

namespace {

struct Category {
    const char16_t *name;
    const char16_t *emoji; ///< with spaces between them
};

constexpr std::array categories{
    Category{u"Work",
             u"💼 📊 📋 📌 📎 🗂️ 📝 ✏️ 📅 🗓️ 📏 📐 🖊️ 🗒️ 📂 🗃️ 📇 "
             u"🗄️ "
             u"📜 "
             u"🖋️"},
    Category{u"Tech",
             u"💻 🖥️ ⌨️ 🖱️ 🔧 🛠️ ⚙️ 🐛 🚀 📦 🔌 🖨️ 📡 🔋 💽 💿 📟 "
             u"🖲️ "
             u"🔭 "
             u"🔬"},
    Category{
        u"Creative",
        u"🎨 🖌️ 🎭 📸 🎬 🎵 🎸 🎹 🎙️ 🎧 🎤 🖼️ 📻 🎻 🥁 🎺 🎷 📷 🎞️ "
        u"🎪"},
    Category{u"Social",
             u"💬 📱 📞 🌐 ✉️ 📢 🔔 👥 💌 🤝 👋 🧠 👁️ ❤️ 💡 🗣️ 👤 📣 "
             u"🎙️ "
             u"🤳"},
    Category{
        u"Files & Security",
        u"📁 💾 🔐 🔑 🗑️ 📤 📥 🔗 ☁️ 🔒 🔓 🛡️ 🔏 📋 🗝️ 📌 🔖 📎 🔍 "
        u"🔎"},
    Category{u"Life",
             u"🏠 🚗 🍕 ☕ 🏋️ 📚 ✈️ 🛒 🎮 🐶 🌿 🍎 🏖️ ⚽ 🎯 🏆 🚀 🌍 🎁 "
             u"🛋️"},
    Category{u"Symbols",
             u"⭐ 🔥 💡 ⚡ 🏅 🌟 ⚠️ ✅ ❌ 🔴 🟡 🟢 🔵 🟣 🟠 ⚫ ⚪ ♾️ 🔰 🎌"},
};

} // namespace

const QList<EmojiCategory> &emojiCatalogue()
{
    static const QList<EmojiCategory> catalogue = [] {
        QList<EmojiCategory> made;
        for (const auto &[name, emoji] : categories)
            made.append(
                {QUuid::createUuid(), QString::fromUtf16(name), QString::fromUtf16(emoji).split(QLatin1Char(' '))});
        return made;
    }();
    return catalogue;
}

} // namespace cobblet
