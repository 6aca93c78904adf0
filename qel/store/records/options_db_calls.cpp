// The remote calls of OptionsDB.
#include <qel/store/records/options_db.h>

#include <qel/foundation/base/weak_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/rpc/rpc_context.h>
#include <qel/rpc/rpc_provider.h>
#include <qel/store/core/scoped_transaction.h>

namespace qel {

bool OptionsDB::setValueAndKeep(const StringId& name, const StringId& value) {
    const OptionMeta* const meta = findOption(name);
    const StringId before = meta ? meta->value : StringId();
    ScopedTransaction transaction(m_root);
    if (!setValue(name, value)) return false;
    if (transaction.tryCommit() && delegateKeep()) return true;
    logging::error() << "option not set, reason: option '" << name << "' could not be stored";
    setValue(name, before);
    return false;
}

void OptionsDB::registerRpcCalls(RpcProvider* provider) {
    provider->setCategory("Advanced options");
    provider->addRPC(
        "advanced_option_get",
        [self = WeakPointer<OptionsDB>(this)](const RpcContext& call) {
            StringId name;
            if (self && call.args().asStringId(name)) call.result().add(self->getValue(name).smart_cstr());
            call.finish();
        },
        "Returns the value of an option.", "(String name) : String value");
    provider->addRPC(
        "test_advanced_option_set",
        [self = WeakPointer<OptionsDB>(this)](const RpcContext& call) {
            StringId name, value;
            const bool isWhole = call.args().asStringId(name) && call.args().asStringId(value);
            if (self && isWhole && self->setValueAndKeep(name, value)) call.result().addTrue();
            call.finish();
        },
        "Sets the value of an option.", "(String name, String value) : Bool success");
    provider->setCategory(nullptr);
}

} // namespace qel
