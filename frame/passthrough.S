/* Exports of the tier whose work is done by zor_core: each is one indirect
   jump, through the global offset table, to the provider's body of the same
   name (zor_core_body_<name>), with the caller's registers and stack as they
   are. The provider exports the same body under the plain name too. The
   names come from frame/passthrough_names.inc. */
        .text
.macro PASSTHROUGH name
        .globl \name
        .type \name, @function
        .p2align 4
\name:
        jmp *zor_core_body_\name@GOTPCREL(%rip)
        .size \name, .-\name
.endm

#define ZOR_PASSTHROUGH(name) PASSTHROUGH name
#include "frame/passthrough_names.inc"

        .section .note.GNU-stack,"",@progbits
