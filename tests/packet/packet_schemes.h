// Schemes for tests of packets: every kind of field, a history of versions, cargo, rows of a table.
#pragma once

#include <qel/packet/packet.h>
#include <qel/packet/packet_scheme.h>
#include <qel/store/core/guid.h>

namespace qel::test {

/// A job in version 0, 1 or 2, as senders of different age know it.
struct JobScheme : PacketScheme {
    explicit JobScheme(int newest) : PacketScheme(700, "Test", "Work", "Job") {
        Single<int32>("priority", 5);
        String("path", kDynamic);
        NextVersion();
        if (newest == 0) return;
        Array<double>("weights", kDynamic);
        Single<uint8>("mode", 7);
        NextVersion();
        if (newest == 1) return;
        Single<int16>("retries", -3);
        Buffer("extra", kDynamic);
        NextVersion();
    }
};

/// One field of every kind, fixed and dynamic.
struct AllKindsScheme : PacketScheme {
    AllKindsScheme() : PacketScheme(-2, "Test", nullptr, "AllKinds") {
        Single<int8>("i8");
        Single<uint8>("u8");
        Single<int16>("i16");
        Single<uint16>("u16");
        Single<int32>("i32");
        Single<uint32>("u32");
        Single<int64>("i64");
        Single<uint64>("u64");
        Single<float>("f32", 1.5F);
        Single<double>("f64");
        Single<GUID>("guid");
        String("name", 6);
        Array<int16>("shorts", 3);
        String("text", kDynamic);
        Buffer("blob", kDynamic);
        Item("item", kDynamic);
        Array<int32>("ints", kDynamic);
        Array<GUID>("guids", kDynamic);
        NextVersion();
    }
};

/// A number and at most four bytes of cargo.
struct CargoScheme : PacketScheme {
    CargoScheme() : PacketScheme(701, "Test", nullptr, "Cargo") {
        Single<int16>("number");
        Array<int16>("list", kDynamic);
        Cargo(4);
        NextVersion();
    }
};

/// A row of a table.
struct RowScheme : PacketScheme {
    RowScheme() : PacketScheme(702, "Test", nullptr, "Row") {
        Table();
        String("name", kDynamic);
        Single<int64>("size");
        Single<float>("weight");
        Single<GUID>("owner");
        Single<int16>("secret", 4).addFlags(Element::kStoreAsBuffer);
        Array<int32>("marks", 2);
        NextVersion();
    }
};

} // namespace qel::test
