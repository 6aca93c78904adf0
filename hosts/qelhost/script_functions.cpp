#include "script_functions.h"

#include "host_application.h"
#include "terminal.h"

#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>

#include <filesystem>
#include <string_view>

namespace qelhost {

namespace {

void print(std::string_view text) {
    terminal::print(text);
}

void progress(std::string_view text) {
    terminal::showProgress(text);
}

bool interrupted() {
    return qel::System::wasInterruptHandlerCalled();
}

void setExitStatus(int status) {
    HostApplication::instance().requestExitStatus(status & 0xFF); // a shell sees only these bits
}

qel::String absolutePath(std::string_view path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error).lexically_normal();
    const qel::String text = absolute.string();
    return text.size() > 1 && text.back() == '/' ? qel::String(text.substr(0, text.size() - 1)) : text;
}

} // namespace

void addScriptFunctions() {
    qelSq::VM& vm = *qel::Object::system()->getVM();
    qelSq::Object host = vm.newTable();
    host.asTable()
        .squirrelFunction("print", &qelSq::callStatic<&print>)
        .squirrelFunction("progress", &qelSq::callStatic<&progress>)
        .squirrelFunction("interrupted", &qelSq::callStatic<&interrupted>)
        .squirrelFunction("set_exit_status", &qelSq::callStatic<&setExitStatus>)
        .squirrelFunction("absolute_path", &qelSq::callStatic<&absolutePath>);
    vm.getRootTable().set("host", host);
}

} // namespace qelhost
