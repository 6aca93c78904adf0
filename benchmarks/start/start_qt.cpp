// An application object from its start to its first pass of events and out again.
#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::processEvents();
}
