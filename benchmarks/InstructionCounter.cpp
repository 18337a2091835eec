// A plugin for QEMU's user mode that counts the instructions that a single-threaded program executes, run-time
// libraries included. scripts/instructions.py builds it for the host, whatever target the program is for.
#include <cstddef>
#include <cstdint>
#include <cstdio>

// The part of the emulator's plugin interface, version 1, that is used here. Debian packages no header for it.
extern "C" {
struct qemu_plugin_tb;   // a block of instructions that is being translated
struct qemu_plugin_insn; // one of them
std::size_t qemu_plugin_tb_n_insns(qemu_plugin_tb const* block);
qemu_plugin_insn* qemu_plugin_tb_get_insn(qemu_plugin_tb const* block, std::size_t index);
void qemu_plugin_register_vcpu_tb_trans_cb(std::uint64_t plugin, void (*call)(std::uint64_t, qemu_plugin_tb*));
void qemu_plugin_register_vcpu_insn_exec_inline(qemu_plugin_insn* instruction, int operation, void* number,
                                                std::uint64_t operand);
void qemu_plugin_register_atexit_cb(std::uint64_t plugin, void (*call)(std::uint64_t, void*), void* data);
}

namespace {

constexpr int add = 0; // the one operation there is

std::uint64_t executed = 0;

void translated(std::uint64_t, qemu_plugin_tb* block) {
    for (std::size_t i = 0; i < qemu_plugin_tb_n_insns(block); ++i)
        qemu_plugin_register_vcpu_insn_exec_inline(qemu_plugin_tb_get_insn(block, i), add, &executed, 1);
}

void ended(std::uint64_t, void*) {
    std::fprintf(stderr, "instructions: %llu\n", static_cast<unsigned long long>(executed));
}

} // namespace

// The emulator looks for these two by name.
extern "C" {
int qemu_plugin_version = 1;

int qemu_plugin_install(std::uint64_t plugin, void const*, int, char**) {
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, translated);
    qemu_plugin_register_atexit_cb(plugin, ended, nullptr);
    return 0;
}
}
