// A store in a file: keys form a tree, and a transaction is kept completely or not at all.
#include <qel/store/core/item.h>
#include <qel/store/core/item_iterator.h>
#include <qel/store/core/scoped_transaction.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <cstdio>
#include <stdexcept>

namespace {

/// Adds a patient with two studies, or nothing if the second one fails.
void addPatient(const qel::Item& patients, const char* name, bool fails) {
    qel::ScopedTransaction transaction(patients);
    const qel::Item patient = qel::Item(patients).add(name);
    patient.store(qel::Item("admitted"));
    qel::Item(patient).add(2023).store(qel::Item("chest").add(120));
    if (fails) throw std::runtime_error("the scanner was switched off");
    qel::Item(patient).add(2024).store(qel::Item("head").add(64));
    if (!transaction.tryCommit()) throw std::runtime_error(patients.getStore()->lastError());
}

/// Returns the last element of a key as text.
qel::String nameOf(const qel::Item& key) {
    const qel::Item name = key.trail();
    return name.getIterator().convertAsString();
}

void printStudies(const qel::Item& patient) {
    qel::Item study;
    for (bool found = patient.child(study); found; found = study.next()) {
        qel::Item::Iterator value = study.fetch()->getIterator();
        const qel::String region = value.convertAsString();
        std::printf("  %s: %s, %d slices\n", nameOf(study).c_str(), region.c_str(),
                    static_cast<int>(value.convertAsInteger()));
    }
}

} // namespace

int main() {
    const qel::SmartPointer<qel::SqliteStore> store(new qel::SqliteStore("patients.store"));
    if (!store->good()) return 1;
    const qel::Item patients = qel::Item(store.get()).add("patients");
    try {
        addPatient(patients, "Ada", false);
        addPatient(patients, "Grace", true);
    } catch (const std::exception& error) {
        std::printf("not stored: %s\n", error.what());
    }

    qel::Item patient;
    for (bool found = patients.child(patient); found; found = patient.next()) {
        std::printf("%s\n", nameOf(patient).c_str());
        printStudies(patient);
    }
    patients.remove(); // with everything below it
    std::printf("%s\n", patients.exists() ? "still there" : "removed");
}

// Prints:
// not stored: the scanner was switched off
// Ada
//   2023: chest, 120 slices
//   2024: head, 64 slices
// removed
