// Stores script values in Items and reads them back.
#include <qel/store/core/item.h>

#include <qel/foundation/base/buffer.h>
#include <qel/script/native_class.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>

#include <algorithm>

namespace qel {
namespace {

using ScriptValue = qelSq::Object;

/// Appends script values to an Item; keeps track of the containers that it is inside.
class ScriptWriter {
public:
    explicit ScriptWriter(Item& item) : m_item(item) {}

    void write(const ScriptValue& value) {
        switch (value.handle()._type) {
        case OT_BOOL:
            m_item.addBool(value.asBool());
            break;
        case OT_INTEGER:
            m_item.addInteger(value.asInteger());
            break;
        case OT_FLOAT:
            m_item.addFloat(value.asFloat());
            break;
        case OT_STRING:
            m_item.addString(SmartCStr(value.asString()));
            break;
        case OT_TABLE:
        case OT_ARRAY:
            writeContainer(value);
            break;
        case OT_CLOSURE:
        case OT_NATIVECLOSURE:
            writeClosure(value);
            break;
        case OT_INSTANCE:
            writeInstance(value);
            break;
        default:
            m_item.addNIL();
            break;
        }
    }

private:
    void writeContainer(ScriptValue container) {
        const bool isInside = std::find(m_path.begin(), m_path.end(), container) != m_path.end();
        if (isInside || m_path.size() == static_cast<size_t>(Item::kMaxDepth)) {
            m_item.addNIL();
            return;
        }
        m_path.push_back(container);
        if (container.isTable()) m_item.addPrefix(Item::kTablePrefix);
        const size_t begin = m_item.openSubItem();
        if (container.isTable()) {
            for (const auto& [key, value] : container.asTable().getKeyValuePairs()) {
                write(key);
                write(value);
            }
        } else {
            for (const ScriptValue& value : container.asArray().getValues()) write(value);
        }
        m_item.closeSubItem(begin);
        m_path.pop_back();
    }

    void writeClosure(ScriptValue closure) {
        Buffer bytecode;
        m_item.addPrefix(Item::kScriptPrefix);
        if (closure.asClosure().getBytecode(bytecode)) {
            m_item.addBuffer(bytecode);
        } else {
            m_item.addNIL();
        }
    }

    void writeInstance(const ScriptValue& instance) {
        if (instance.isGUID()) {
            m_item.addGUID(instance.asGUID());
        } else {
            m_item.addNIL();
        }
    }

    Item& m_item;
    Vector<ScriptValue> m_path;
};

/// Converts elements to script values. @see Item::Iterator::asSquirrel()
class ScriptReader {
public:
    ScriptReader(SQVM* vm, ScriptCode code) : m_vm(vm), m_code(code) {}

    bool read(Item::Iterator& elements, ScriptValue& value, int depth) {
        switch (elements.getType()) {
        case ValueType::Float:
            value = ScriptValue::of(static_cast<SQFloat>(elements.convertAsFloat()));
            break;
        case ValueType::String:
            value = ScriptValue::of(elements.asWeakCStr());
            break;
        case ValueType::True:
        case ValueType::False:
            value = ScriptValue::of(elements.convertAsBool());
            break;
        case ValueType::NIL:
            elements.skip();
            value = ScriptValue();
            break;
        case ValueType::GUID:
            value = instanceOf(elements);
            break;
        case ValueType::SubItem:
            return readArray(elements, value, depth + 1);
        case ValueType::Prefix:
            return readMarked(elements, value, depth);
        default:
            return readInteger(elements, value);
        }
        return true;
    }

private:
    bool readInteger(Item::Iterator& elements, ScriptValue& value) {
        int64 integer;
        if (!elements.asInteger(integer)) return false;
        value = ScriptValue::of(SQInteger{integer});
        return true;
    }

    ScriptValue instanceOf(Item::Iterator& elements) {
        GUID guid;
        elements.asGUID(guid);
        qelSq::NativeClass<GUID>::push(m_vm, guid);
        ScriptValue instance;
        instance.popFromStackAddRef(m_vm);
        return instance;
    }

    /// Reads the value after a Prefix.
    bool readMarked(Item::Iterator& elements, ScriptValue& value, int depth) {
        const SmartCStr mark = elements.asWeakCStr();
        if (mark == Item::kTablePrefix) return readTable(elements, value, depth + 1);
        return mark == Item::kScriptPrefix && readClosure(elements, value);
    }

    bool readClosure(Item::Iterator& elements, ScriptValue& value) {
        ConstByteSpan bytecode;
        if (m_code == ScriptCode::Refuse || !elements.asWeakBuffer(bytecode)) return false;
        value = qelSq::VM::from(m_vm)->newClosure(bytecode);
        return value.isClosure();
    }

    /// Reads the list of a SubItem; it is empty below the deepest level.
    static bool openList(Item::Iterator& elements, Item& list, int depth) {
        if (!elements.asWeakSubItem(list)) return false;
        if (depth > Item::kMaxDepth) list.clear();
        return true;
    }

    bool readArray(Item::Iterator& elements, ScriptValue& array, int depth) {
        Item list;
        if (!openList(elements, list, depth)) return false;
        array = qelSq::VM::from(m_vm)->newArray(0);
        Item::Iterator values(list);
        while (values.hasNextElement()) {
            ScriptValue value;
            if (!read(values, value, depth)) return false;
            array.asArray().append(value);
        }
        return true;
    }

    bool readTable(Item::Iterator& elements, ScriptValue& table, int depth) {
        Item list;
        if (!openList(elements, list, depth)) return false;
        table = ScriptValue::newTable();
        Item::Iterator pairs(list);
        while (pairs.hasNextElement()) {
            ScriptValue key, value;
            if (!read(pairs, key, depth) || !read(pairs, value, depth)) return false;
            table.set(key, value); // null cannot be a key and is skipped
        }
        return true;
    }

    SQVM* m_vm;
    ScriptCode m_code;
};

} // namespace

Item::Item(const qelSq::Object& value) : Item() {
    addSquirrel(value);
}

Item& Item::addSquirrel(const qelSq::Object& value) {
    ScriptWriter(*this).write(value);
    return *this;
}

bool Item::Iterator::asSquirrel(qelSq::Object& value, ScriptCode code) {
    SQVM* const vm = qelSq::Global::squirrelVM;
    if (!vm) return false;
    Iterator next = *this;
    qelSq::Object read;
    if (!ScriptReader(vm, code).read(next, read, 0)) return false;
    value = read;
    *this = next;
    return true;
}

} // namespace qel
