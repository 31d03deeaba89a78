# dispatch_entries.S: the entry of each dispatched function, its slot, and the table that the selection at load works through.
#
# dispatch_rows.inc is generated from dispatch.list. It calls, in the order of the list,
#   unit  PATH, COUNT       at the begin of a unit with so many rows
#   row   KIND, NAME        for each dispatched function, KIND being export, plain or intern
#   alias KIND, NAME, OLD   for each further name of the row OLD, after it
# Each part below defines these three for itself.

#ifdef __ELF__
    #define FUNCTION(name) .type name, @function
    #define END(name) .size name, . - name
    #define HIDDEN(name) .hidden name
    #define CONSTANTS .section .data.rel.ro, "aw"
#else
    #define FUNCTION(name)
    #define END(name)
    #define HIDDEN(name)
    #define CONSTANTS .section .rdata, "dr"
#endif

.macro drop_rows
    .purgem unit
    .purgem row
    .purgem alias
.endm

.macro publish kind, name
    .globl \name
    FUNCTION(\name)
    .ifc \kind, intern
        HIDDEN(\name)
    .endif
.endm

# The entries: a jump through the slot.
    .text
.macro unit path, count
.endm
.macro row kind, name
    publish \kind, \name
    .p2align 4
\name:
    jmp *slot.\name(%rip)
    END(\name)
.endm
.macro alias kind, name, old
    publish \kind, \name
    .set \name, \old
    END(\name)
.endm
#include "dispatch_rows.inc"
    drop_rows

# The slots, which start at the .A bodies.
    .data
    .p2align 3
.macro unit path, count
.endm
.macro row kind, name
slot.\name:
    .quad \name\().A
.endm
.macro alias kind, name, old
.endm
#include "dispatch_rows.inc"
    drop_rows

# The rows: a slot and its bodies in ascending demand.
    CONSTANTS
    .p2align 3
    .globl tonekit_dispatch_rows
    HIDDEN(tonekit_dispatch_rows)
tonekit_dispatch_rows:
.macro unit path, count
.endm
.macro row kind, name
    .quad slot.\name
    .irp letter, A, L, M, N, P, R, S, V
        .quad \name\().\letter
    .endr
.endm
.macro alias kind, name, old
.endm
#include "dispatch_rows.inc"
    drop_rows

# How many rows each unit has, then 0.
    .globl tonekit_dispatch_units
    HIDDEN(tonekit_dispatch_units)
tonekit_dispatch_units:
.macro unit path, count
    .quad \count
.endm
.macro row kind, name
.endm
.macro alias kind, name, old
.endm
#include "dispatch_rows.inc"
    .quad 0

#ifdef __ELF__
    .section .note.GNU-stack, "", @progbits
#endif
