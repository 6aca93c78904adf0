// A worker: the program starts itself a second time, and both exchange packets on the standard streams.
#include <qel/packet/packet.h>
#include <qel/packet/std_in_packet_reader.h>
#include <qel/packet/std_out_packet_writer.h>
#include <qel/process/process.h>
#include <qel/process/process_packet_reader.h>
#include <qel/process/process_packet_writer.h>
#include <qel/system/core/system.h>

#include <cstdio>

namespace {

/// The packet of both directions: a text. Later versions may append fields; old readers ignore them.
struct TextScheme : qel::PacketScheme {
    TextScheme() : PacketScheme(700, "example", nullptr, "Text") {
        String("text", kDynamic);
        NextVersion();
    }
};

TextScheme& scheme() {
    static TextScheme instance;
    return instance;
}

qel::SmartPointer<qel::Packet> makePacket(const qel::String& text) {
    qel::SmartPointer<qel::Packet> packet(new qel::Packet(&scheme(), 0));
    packet->setString("text", text);
    return packet;
}

/// Returns the text of a received packet; empty if its bytes do not fit the scheme.
qel::String textOf(qel::Packet& packet) {
    return packet.getID() == scheme().getID() && packet.fit(&scheme()) ? packet.getString("text")
                                                                       : qel::String();
}

/// The child: answers each text in capitals until standard input ends.
int work() {
    qel::StdInPacketReader reader;
    qel::StdOutPacketWriter writer;
    while (const qel::SmartPointer<qel::Packet> packet = reader.read())
        writer.write(makePacket(textOf(*packet).utf8_uppercase()).get());
    return 0;
}

int supervise(const char* program) {
    const qel::SmartPointer<qel::Process> child(new qel::Process);
    if (!child->spawn(program, {program, "worker"}, nullptr, true)) return 1;
    for (const char* text : {"slice 1", "slice 2", "Übersicht"}) {
        child->getPacketWriter()->write(makePacket(text).get());
        qel::SmartPointer<qel::Packet> answer;
        while (child->tick() && !(answer = child->getPacketReader()->read()))
            qel::Object::system()->delegateSleep(1);
        if (answer) std::printf("%s -> %s\n", text, textOf(*answer).c_str());
    }
    child->closeStdin(); // the worker's reader returns null
    while (child->tick()) qel::Object::system()->delegateSleep(1);
    std::printf("the worker ended with status %d\n", child->exitStatus());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    qel::System::initialize(argc, argv, nullptr);
    const int status = qel::Object::system()->hasArgument("worker") ? work() : supervise(argv[0]);
    qel::System::deinitialize();
    return status;
}

// Prints:
// slice 1 -> SLICE 1
// slice 2 -> SLICE 2
// Übersicht -> ÜBERSICHT
// the worker ended with status 0
