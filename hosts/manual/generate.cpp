// Writes the man pages and the completions of all hosts when they are built.
//   qel_host_manuals VERSION DATE FOLDER     writes FOLDER/man1/NAME.1 and FOLDER/completions/NAME
#include "completion.h"
#include "man_page.h"

#include <hosts/qelcall/options.h>
#include <hosts/qelhost/options.h>
#include <hosts/qelimage/options.h>
#include <hosts/qelscreens/options.h>
#include <hosts/qelserver/options.h>
#include <hosts/qelviewer/options.h>
#include <hosts/qelworker/options.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary);
    if (!(stream << text).flush()) throw std::runtime_error("cannot write " + path.string());
}

template <class Options>
void writeManual(const char* const* argv) {
    Options options;
    const qelhosts::Program program = describe(options);
    const fs::path folder = argv[3];
    write(folder / "man1" / (program.name + ".1"), qelhosts::manPage(program, argv[1], argv[2]));
    write(folder / "completions" / program.name, qelhosts::bashCompletion(program));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: qel_host_manuals VERSION DATE FOLDER\n";
        return 2;
    }
    try {
        writeManual<qelhost::Options>(argv);
        writeManual<qelserver::Options>(argv);
        writeManual<qelworker::Options>(argv);
        writeManual<qelcall::Options>(argv);
        writeManual<qelimage::Options>(argv);
        writeManual<qelscreens::Options>(argv);
        writeManual<qelviewer::Options>(argv);
    } catch (const std::exception& error) {
        std::cerr << "qel_host_manuals: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
