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

/// The registry of settings. Each option is declared in code with its description; its value, a text, is kept
/// in a store. A name may begin with the audience of the option: "client_options:" or "group_options:".
/// @owner the store must outlive it.
/// @threads one thread at a time; the signal is emitted on the caller's.
class QEL_API OptionsDB : public Object {
    QEL_CLASS(OptionsDB, Object)

public:
    /// Bits of the flags of an option. Other bits are for the host.
    enum Flag : int {
        kSecret = 0x02,     ///< the value is not logged
        kHidden = 0x04,     ///< the value is not logged
        kLogChanges = 0x80, ///< each setValue() is logged
    };

    /// The declaration of an option, and its value.
    class QEL_API OptionMeta : public Object {
        QEL_CLASS(OptionMeta, Object)

    public:
        StringId name;         ///< identifies the option
        StringId label;        ///< the name shown to users
        StringId description;  ///< what the option does
        StringId defaultValue; ///< applies while there is no value
        int flags = 0;         ///< bits of Flag and of the host
        StringId group;        ///< the group of the option
        StringId value;        ///< null if the default applies
    };

    /// Creates an empty registry. @param root  the key whose children are the values; its store must be set.
    explicit OptionsDB(const Item& root);

    /// Declares an option and reads its value from the store. A second option with the same name replaces the
    /// first in look-ups by name, and follows it in the lists.
    /// @param group  a group that contains "Pool" is put in front of the label in getAllMetaAsItem().
    /// @return true. @errors a stored value that is not text is logged and kept; the default applies.
    bool addOption(StringId name, StringId defaultValue, StringId group, StringId label, StringId description,
                   int flags);
    /// Sets the value, in the store too; an empty text restores the default. The signal is emitted even if
    /// nothing has changed.
    /// @return true if there is such an option. @errors an unknown name is logged.
    bool setValue(StringId name, StringId value);
    /// Returns the value, or the default if no value is stored; null for an unknown name.
    StringId getValue(StringId name) const;
    /// Returns the value as a decimal number, clamped to int; 0 if it is not a number.
    int getValueAsInt(StringId name) const;
    /// Returns the value as a decimal number, clamped to int64; 0 if it is not a number.
    int64 getValueAsLong(StringId name) const;
    /// Returns true if the option was declared.
    bool hasOption(StringId name) const { return m_options.contains(name); }
    /// Removes all options; the store keeps their values.
    void clear();

    /// Returns options in order of declaration. @owner valid until clear().
    /// @param group  false for the options of clients; true for those of groups, which include those of
    /// clients.
    const Vector<OptionMeta*>& getOptionsMeta(bool group) const {
        return group ? m_groupOptions : m_clientOptions;
    }
    /// Returns a `SubItem` for each option in order of declaration: name, label, description and default as
    /// texts, and the flags as an integer.
    const Item& getAllMetaAsItem() const { return m_metaItem; }
    /// Returns a `SubItem` for each option in order of declaration: name and value as texts; the value is
    /// empty where the default applies.
    Item getAllDirectValuesAsItem() const;

    /// Registers "advanced_option_get" and "test_advanced_option_set" with @p provider. Calls that arrive
    /// after the database was destroyed have no result. Defined in options_db_calls.cpp.
    void registerRpcCalls(RpcProvider* provider);

    /// Called by "test_advanced_option_set" after it has set a value: makes the value durable and returns
    /// true on success. Otherwise the option gets its former value back, and the call has no result.
    /// By default it flushes the store; a host that keeps a transaction open has to end it.
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
    Vector<SmartPointer<OptionMeta>> m_allOptions; // owns them all; the lists also point to replaced ones
    Vector<OptionMeta*> m_clientOptions;
    Vector<OptionMeta*> m_groupOptions;
    Item m_metaItem;
    Item m_root;
};

} // namespace qel
