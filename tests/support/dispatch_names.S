# dispatch_names.S: the names of the dispatched functions, in the order of the table in frame/dispatch_entries.S.
#ifdef __ELF__
    .section .data.rel.ro, "aw"
#else
    .section .rdata, "dr"
#endif
    .p2align 3
    .globl tonekit_dispatch_names
tonekit_dispatch_names:
.macro unit path, count
.endm
.macro row kind, name
    .quad name.\name
.endm
.macro alias kind, name, old
.endm
#include "dispatch_rows.inc"
    .quad 0
    .purgem row

.macro row kind, name
name.\name:
    .asciz "\name"
.endm
#include "dispatch_rows.inc"

#ifdef __ELF__
    .section .note.GNU-stack, "", @progbits
#endif
