// SPDX-License-Identifier: MIT
//
// Records which test calls which method, on x86-64 Linux. Linked into a test program, it does nothing unless
// LX_METHOD_TESTS names a file. Then it creates one object of each kind, replaces every method in their tables by a
// counting stub, and writes for each method the first tests that called it.
//
// Only calls from outside the component count, not those that the component makes to itself. So for the outermost call
// of a thread, the stub replaces the return address by its own. That is safe because no exception leaves a method.
#include "objectworld.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace {
constexpr std::size_t NamesKept = 2;

struct Slot {
    std::string kind;
    const char* interface_;
    const char* method;
    void* target;
    std::atomic<unsigned long> calls{0};
    std::vector<std::string> tests;
};

thread_local void* t_caller = nullptr; // return address of the outermost call; null outside the component
void* g_leave = nullptr;

/// Called by a stub with the location of its return address; returns the address of the method.
void* Enter(Slot* slot, void** returnAddress) {
    if (t_caller == nullptr) {
        slot->calls.fetch_add(1, std::memory_order_relaxed);
        t_caller = *returnAddress;
        *returnAddress = g_leave;
    }
    return slot->target;
}

void* Leave() { return std::exchange(t_caller, nullptr); }

/// Writes machine code.
class Code {
public:
    explicit Code(std::size_t size)
        : m_next(static_cast<unsigned char*>(
              mmap(nullptr, size, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (static_cast<void*>(m_next) == MAP_FAILED) { throw std::runtime_error("no memory for code"); }
    }

    void* Stub(Slot* slot) {
        void* const start = m_next;
        Put({0x57, 0x56, 0x52, 0x51, 0x41, 0x50, 0x41, 0x51}); // push rdi, rsi, rdx, rcx, r8, r9
        Put({0x48, 0x83, 0xEC, 0x08});                         // sub rsp, 8
        Put({0x48, 0x8D, 0x74, 0x24, 0x38});                   // lea rsi, [rsp + 56]: the return address
        Put({0x48, 0xBF}, slot);                               // mov rdi, slot
        Put({0x48, 0xB8}, reinterpret_cast<void*>(&Enter));    // mov rax, Enter
        Put({0xFF, 0xD0, 0x48, 0x83, 0xC4, 0x08});             // call rax; add rsp, 8
        Put({0x41, 0x59, 0x41, 0x58, 0x59, 0x5A, 0x5E, 0x5F}); // pop r9, r8, rcx, rdx, rsi, rdi
        Put({0xFF, 0xE0});                                     // jmp rax
        return start;
    }
    void* Return() {
        void* const start = m_next;
        Put({0x50, 0x48, 0x83, 0xEC, 0x08});                   // push rax; sub rsp, 8
        Put({0x48, 0xB8}, reinterpret_cast<void*>(&Leave));    // mov rax, Leave
        Put({0xFF, 0xD0, 0x49, 0x89, 0xC3});                   // call rax; mov r11, rax
        Put({0x48, 0x83, 0xC4, 0x08, 0x58, 0x41, 0xFF, 0xE3}); // add rsp, 8; pop rax; jmp r11
        return start;
    }

private:
    void Put(std::initializer_list<unsigned char> bytes) { m_next = std::copy(bytes.begin(), bytes.end(), m_next); }
    void Put(std::initializer_list<unsigned char> bytes, void* value) {
        Put(bytes);
        std::memcpy(m_next, &value, sizeof(value));
        m_next += sizeof(value);
    }

    unsigned char* m_next;
};

class MethodCounter : public testing::EmptyTestEventListener {
public:
    explicit MethodCounter(std::string file) : m_file(std::move(file)) {}

private:
    void OnTestProgramStart(const testing::UnitTest&) override {
        const XObjectWorld world(XStage::Client);
        Code code(1 << 18);
        g_leave = code.Return();
        std::set<void**> known; // two kinds may share a class
        for (const char* const kind : XObjectWorld::Kinds()) {
            for (const XFace& face : LXFacesOf(*world.Object(kind).Get())) {
                void** const table = *static_cast<void***>(face.face);
                if (known.insert(table).second) { Replace(kind, *face.interface_, table + 3, code); }
            }
        }
    }

    void Replace(const char* kind, const XInterface& interface_, void** methods, Code& code) {
        const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        const auto start = reinterpret_cast<std::uintptr_t>(methods) / page * page;
        const auto end = reinterpret_cast<std::uintptr_t>(methods + interface_.methods.size());
        if (mprotect(reinterpret_cast<void*>(start), end - start, PROT_READ | PROT_WRITE) != 0) {
            throw std::runtime_error("a table of methods cannot be written");
        }
        for (const XMethod& method : interface_.methods) {
            m_slots.push_back(std::make_unique<Slot>());
            Slot& slot = *m_slots.back();
            slot.kind = kind;
            slot.interface_ = interface_.name;
            slot.method = method.name;
            slot.target = *methods;
            *methods++ = code.Stub(&slot);
        }
    }

    void OnTestStart(const testing::TestInfo&) override {
        for (const auto& slot : m_slots) {
            slot->calls.store(0);
        }
    }

    void OnTestEnd(const testing::TestInfo& info) override {
        std::string suite = info.test_suite_name();
        std::string test = info.name();
        suite = suite.substr(suite.find('/') + 1); // for parameterised tests, the test itself
        const std::string name = suite + "." + test.substr(0, test.find('/'));
        for (const auto& slot : m_slots) {
            auto& tests = slot->tests;
            if (slot->calls.load() != 0 && tests.size() < NamesKept &&
                std::count(tests.begin(), tests.end(), name) == 0) {
                tests.push_back(name);
            }
        }
    }

    void OnTestProgramEnd(const testing::UnitTest&) override {
        std::FILE* const file = std::fopen(m_file.c_str(), "w");
        if (file == nullptr) { throw std::runtime_error("cannot write " + m_file); }
        for (const auto& slot : m_slots) {
            std::fprintf(file, "%s\t%s\t%s", slot->kind.c_str(), slot->interface_, slot->method);
            for (const std::string& test : slot->tests) {
                std::fprintf(file, "\t%s", test.c_str());
            }
            std::fputc('\n', file);
        }
        std::fclose(file);
    }

    const std::string m_file;
    std::vector<std::unique_ptr<Slot>> m_slots;
};

const bool g_listening = [] {
    const char* const file = std::getenv("LX_METHOD_TESTS");
    if (file != nullptr) { testing::UnitTest::GetInstance()->listeners().Append(new MethodCounter(file)); }
    return file != nullptr;
}();
} // namespace
