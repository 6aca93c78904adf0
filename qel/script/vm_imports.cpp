#include <qel/script/vm.h>

#include <qel/files/file.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/script/access.h>
#include <qel/script/core_imports.h>
#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>

namespace qelSq {

namespace {

SQInteger importFunction(SQVM* vm) {
    if (sq_gettop(vm) != 2) return internal::raiseArgumentCount(vm, true);
    VM::from(vm)->import(TextAccess(vm, 2).c_str());
    return 0;
}

SQInteger includeFunction(SQVM* vm) {
    if (sq_gettop(vm) != 2) return internal::raiseArgumentCount(vm, true);
    VM::from(vm)->include(TextAccess(vm, 2).c_str());
    return 0;
}

std::string_view textOf(const qel::Buffer& buffer) {
    return buffer.getConstByteSpan().asText();
}

} // namespace

void VM::initImport() {
    Object root = getRootTable();
    root.asTable().squirrelFunction("import", &importFunction).squirrelFunction("include", &includeFunction);
    root.set("qel", newTable());
    root.set("util", newTable());
    CoreImports(this);
}

void VM::addImportSearchPath(const qel::String& path) {
    m_importSearchPaths.push_back(path);
}

void VM::setImportCallback(const char* name, ImportFunction function, const char* argument) {
    m_importCallbacks[name] = {function, argument};
}

void VM::import(const char* name) {
    if (!m_importedNames.insert(name).second) return;
    auto callback = m_importCallbacks.find(name);
    if (callback != m_importCallbacks.end()) {
        Import found = callback->second; // the function may register others
        return found.function(this, found.argument.c_str());
    }
    qel::String path = findImport(name);
    if (path.empty()) {
        qel::logging::error() << "no import found for <" << name << ">";
        return;
    }
    qel::Buffer buffer;
    if (!buffer.loadFromFile(path.c_str(), true, false)) {
        qel::logging::error() << "import of <" << name << "> failed";
        return;
    }
    std::string_view source = textOf(buffer);
    executeBuffer(source.data(), source.size(), path.c_str());
}

qel::String VM::findImport(const char* name) const {
    for (const qel::String& directory : m_importSearchPaths) {
        qel::String path = directory + "/" + name + ".sq";
        if (qel::File::existsFile(path)) return path;
    }
    return {};
}

void VM::include(const char* path) {
    qel::Buffer buffer;
    if (!buffer.loadFromFile(path, true, false)) {
        qel::logging::error() << "can't include <" << path << ">";
        return;
    }
    Object closure = newClosure(textOf(buffer), path);
    if (closure.isNull()) return noteFailedScript();
    createThread(closure);
}

ImportLibrary VM::getLibrary() {
    return ImportLibrary(*this);
}

} // namespace qelSq
