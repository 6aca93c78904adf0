// LateProvider: a provider of resources that answers when the test says so.
#pragma once

#include <qel/plugins/resource_provider.h>

#include <functional>

namespace qel::test {

/// Accepts asynchronous requests; the last one waits in answer.
class LateProvider : public ResourceProvider {
public:
    bool hasResource(SmartCStr) override { return false; }
    bool loadResource(SmartCStr, Buffer&) override { return false; }
    bool loadResourceAsync(SmartCStr, const std::function<void(const Buffer&)>& callback) override {
        answer = callback;
        return true;
    }
    std::function<void(const Buffer&)> answer;
};

} // namespace qel::test
