#include <qel/store/records/options_db.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/store.h>

#include <algorithm>
#include <limits>

namespace qel {

OptionsDB::OptionsDB(const Item& root) : m_root(root) {
    delegateKeep.connect([store = m_root.getStore()] { return store->tryFlush(); });
}

bool OptionsDB::addOption(StringId name, StringId defaultValue, StringId group, StringId label,
                          StringId description, int flags) {
    const auto meta = makeObject<OptionMeta>();
    meta->name = name;
    meta->label = label;
    meta->description = description;
    meta->defaultValue = defaultValue;
    meta->flags = flags;
    meta->group = group;
    m_options[name] = meta.get();
    m_allOptions.push_back(meta);
    list(meta.get());
    loadValue(*meta);
    return true;
}

void OptionsDB::list(OptionMeta* meta) {
    const bool isForClients = meta->name.begins_with("client_options:");
    if (isForClients) m_clientOptions.push_back(meta);
    if (isForClients || meta->name.begins_with("group_options:")) m_groupOptions.push_back(meta);

    const bool isInPool = meta->group.contains("Pool");
    Item row;
    row.add(meta->name.smart_cstr());
    row.add(isInPool ? meta->group + ": " + meta->label : meta->label.string());
    row.add(meta->description.smart_cstr()).add(meta->defaultValue.smart_cstr()).add(meta->flags);
    m_metaItem.addItem(row);
}

Item OptionsDB::keyOf(const StringId& name) const {
    Item key(m_root);
    key.add(name.smart_cstr());
    return key;
}

void OptionsDB::loadValue(OptionMeta& meta) const {
    const Item* stored = keyOf(meta.name).fetch();
    if (stored && !stored->getIterator().asStringId(meta.value))
        logging::error() << "stored value of option '" << meta.name << "' is not text, using the default";
}

void OptionsDB::saveValue(const OptionMeta& meta) const {
    const Item key = keyOf(meta.name);
    if (meta.value)
        key.store(Item(meta.value.c_str()));
    else
        key.remove();
}

OptionsDB::OptionMeta* OptionsDB::findOption(const StringId& name) const {
    const auto found = m_options.find(name);
    return found != m_options.end() ? found->second : nullptr;
}

bool OptionsDB::setValue(StringId name, StringId value) {
    OptionMeta* const meta = findOption(name);
    if (!meta) {
        logging::error() << "option not set, reason: option '" << name << "' does not exist";
        return false;
    }
    if ((meta->flags & kLogChanges) != 0) {
        const bool isShown = (meta->flags & (kSecret | kHidden)) == 0;
        logging::info() << "[SUPPORT] option '" << name << "' has been changed"
                        << (isShown ? ", value='" + value + "'" : String());
    }
    if (meta->value != value) {
        meta->value = value;
        saveValue(*meta);
    }
    signalValueChanged(name, value);
    return true;
}

StringId OptionsDB::getValue(StringId name) const {
    const OptionMeta* const meta = findOption(name);
    if (!meta) return {};
    return meta->value ? meta->value : meta->defaultValue;
}

int OptionsDB::getValueAsInt(StringId name) const {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<int64>(getValueAsLong(name), Limits::min(), Limits::max()));
}

int64 OptionsDB::getValueAsLong(StringId name) const {
    return Item(getValue(name).c_str()).getIterator().convertAsInteger();
}

void OptionsDB::clear() {
    m_options.clear();
    m_clientOptions.clear();
    m_groupOptions.clear();
    m_allOptions.clear();
    m_metaItem.clear();
}

Item OptionsDB::getAllDirectValuesAsItem() const {
    Item values;
    for (const auto& meta : m_allOptions) {
        Item row;
        row.add(meta->name.smart_cstr()).add(meta->value.smart_cstr());
        values.addItem(row);
    }
    return values;
}

} // namespace qel
