// OptionsDB: the named settings of a host.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/item.h>

#include <unordered_map>

namespace qel {

class RpcProvider;

/// The registry of settings: each option is declared in code with what describes it, and its value, a text,
/// lasts in a store. A name may begin with who is to see the option: "client_options:" or "group_options:".
/// @owner the store must outlive it.
/// @threads one thread at a time; the signal is emitted on the caller's.
class QEL_API OptionsDB : public Object {
    QEL_CLASS(OptionsDB, Object)

public:
    /// Bits of the flags of an option. Other bits are the host's own.
    enum Flag : int {
        kSecret = 0x02,     ///< the value is kept out of the log
        kHidden = 0x04,     ///< the value is kept out of the log
        kLogChanges = 0x80, ///< each setValue() is logged
    };

    /// An option as declared, and its value.
    class QEL_API OptionMeta : public Object {
        QEL_CLASS(OptionMeta, Object)

    public:
        StringId name;         ///< what it is found by
        StringId label;        ///< what people read
        StringId description;  ///< what it does
        StringId defaultValue; ///< counts as long as there is no value
        int flags = 0;         ///< bits of Flag and of the host's own
        StringId group;        ///< what it belongs to
        StringId value;        ///< null: the default counts
    };

    /// Starts without options. @param root  the key whose children are the values; its store must be set.
    explicit OptionsDB(const Item& root);

    /// Declares an option and reads its value from the store. A second one of the same name takes the place
    /// of the first when asked by name, and stands behind it in the lists.
    /// @param group  a text with "Pool" in it stands in front of the label in getAllMetaAsItem().
    /// @return true. @errors a stored value that is no text is logged and left alone; the default counts.
    bool addOption(StringId name, StringId defaultValue, StringId group, StringId label, StringId description,
                   int flags);
    /// Sets the value, in the store too; the empty text goes back to the default. The signal is emitted also
    /// when nothing has changed.
    /// @return whether there is such an option. @errors an unknown name is logged.
    bool setValue(StringId name, StringId value);
    /// The value, else the default; null for an unknown name.
    StringId getValue(StringId name) const;
    /// The value as a decimal number, held inside int; 0 for what is none.
    int getValueAsInt(StringId name) const;
    /// The value as a decimal number, held inside int64; 0 for what is none.
    int64 getValueAsLong(StringId name) const;
    /// Whether the option was declared.
    bool hasOption(StringId name) const { return m_options.contains(name); }
    /// Forgets all options; the store keeps their values.
    void clear();

    /// Options in order of declaration. @owner valid until clear().
    /// @param group  false: those for clients; true: those for groups, which include those for clients.
    const Vector<OptionMeta*>& getOptionsMeta(bool group) const {
        return group ? m_groupOptions : m_clientOptions;
    }
    /// A `SubItem` for each option in order of declaration: name, label, description and default as texts,
    /// and the flags as an integer.
    const Item& getAllMetaAsItem() const { return m_metaItem; }
    /// A `SubItem` for each option in order of declaration: name and value as texts; the value is empty where
    /// the default counts.
    Item getAllDirectValuesAsItem() const;

    /// Registers "advanced_option_get" and "test_advanced_option_set" with @p provider. Calls that arrive
    /// after the database was destroyed have no result. Defined in options_db_calls.cpp.
    void registerRpcCalls(RpcProvider* provider);

    /// Called by "test_advanced_option_set" after it has set a value: makes the value durable and returns
    /// whether it is. If it is not, the option gets its former value back, and the call has no result.
    /// Flushes the store by default; a host that keeps a transaction open has to end it.
    Delegate<bool()> delegateKeep;

    /// Emitted with name and value by each setValue() of a declared option.
    Signal<void(StringId, StringId)> signalValueChanged;

private:
    bool setValueAndKeep(const StringId& name, const StringId& value);
    OptionMeta* findOption(const StringId& name) const;
    void list(OptionMeta* meta);
    void loadValue(OptionMeta& meta) const;
    void saveValue(const OptionMeta& meta) const;
    Item keyOf(const StringId& name) const;

    std::unordered_map<StringId, OptionMeta*> m_options;
    Vector<SmartPointer<OptionMeta>> m_allOptions; // owns them all: the lists keep pointing at replaced ones
    Vector<OptionMeta*> m_clientOptions;
    Vector<OptionMeta*> m_groupOptions;
    Item m_metaItem;
    Item m_root;
};

} // namespace qel
