#pragma once

#include <memory>

namespace harbor {

/// A real keyring daemon, unlocked and empty, for one scope. It runs on a session bus that belongs to the
/// test program and that starts no service by itself.
class TestKeyring {
public:
    TestKeyring();
    TestKeyring(TestKeyring const&) = delete;
    TestKeyring& operator=(TestKeyring const&) = delete;
    ~TestKeyring();
    void lock();

private:
    struct Process;
    std::unique_ptr<Process> process_;
};

/// Comes back once the session bus has a secret store, or has none.
void waitForSecretStore(bool wanted);

}  // namespace harbor
