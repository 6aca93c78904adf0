// The remote calls of OptionsDB.
#include <qel/store/records/options_db.h>

#include <qel/foundation/base/weak_pointer.h>
#include <qel/rpc/rpc_context.h>
#include <qel/rpc/rpc_provider.h>

namespace qel {

void OptionsDB::registerRpcCalls(RpcProvider* provider) {
    provider->setCategory("Advanced options");
    provider->addRPC(
        "advanced_option_get",
        [self = WeakPointer<OptionsDB>(this)](const RpcContext& call) {
            StringId name;
            if (self && call.args().asStringId(name)) call.result().add(self->getValue(name).smart_cstr());
            call.finish();
        },
        "Gives the value of an option.", "(String name) : String value");
    provider->addRPC(
        "test_advanced_option_set",
        [self = WeakPointer<OptionsDB>(this)](const RpcContext& call) {
            StringId name, value;
            const bool isWhole = call.args().asStringId(name) && call.args().asStringId(value);
            if (self && isWhole && self->setValue(name, value)) call.result().addTrue();
            call.finish();
        },
        "Sets the value of an option.", "(String name, String value) : Bool success");
    provider->setCategory(nullptr);
}

} // namespace qel
