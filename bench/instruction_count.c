/* A plugin for qemu's user emulation: counts the instructions that the emulated program executes
 * and prints their number when it ends.
 *
 *   qemu-aarch64 -plugin ./libinstruction_count.so -d plugin PROGRAM
 *
 * Debian's package has no header for plugins, so what is used of that interface is declared here.
 */
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#define EXPORTED __attribute__((visibility("default")))

typedef uint64_t PluginId;
struct qemu_plugin_tb;
enum { kInlineAddUint64 = 0 };

void qemu_plugin_register_vcpu_tb_trans_cb(PluginId id,
                                           void (*translated)(PluginId, struct qemu_plugin_tb *));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb *block, int operation,
                                              void *counter, uint64_t addend);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);
void qemu_plugin_register_atexit_cb(PluginId id, void (*ended)(PluginId, void *), void *data);

EXPORTED int qemu_plugin_version = 1;

static uint64_t instructions;

static void CountBlock(PluginId id, struct qemu_plugin_tb *block) {
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, kInlineAddUint64, &instructions,
                                             qemu_plugin_tb_n_insns(block));
}

static void Print(PluginId id, void *data) {
    (void)id;
    (void)data;
    fprintf(stderr, "instructions %" PRIu64 "\n", instructions);
}

EXPORTED int qemu_plugin_install(PluginId id, const void *info, int argc, char **argv) {
    (void)info;
    (void)argc;
    (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, CountBlock);
    qemu_plugin_register_atexit_cb(id, Print, NULL);
    return 0;
}
