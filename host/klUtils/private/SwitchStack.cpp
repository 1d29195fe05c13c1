#include <klUtils/private/SwitchStack.h>

// KELM_SWITCH_BY_CONTEXT: the portable way, wherever it is compiled. For its test.
#if (defined(__x86_64__) || defined(__aarch64__)) && !defined(KELM_SWITCH_BY_CONTEXT)
#define KELM_SWITCH_BY_CALL 1
#else
#include <exception>

#include <ucontext.h>
#endif

#ifdef KELM_SWITCH_BY_CALL

// kelmCallOnStack(call, context, top). The frame register keeps the caller's stack pointer and, being preserved by
// every function, tells the unwinder the caller's frame (.cfi_def_cfa_register) wherever the callee's own frame is.

#if defined(__x86_64__)

asm(R"(
        .text
        .p2align 4
        .type kelmMoveStack, @function
kelmMoveStack:
        .cfi_startproc
        .cfi_signal_frame
        pushq %rbp
        .cfi_def_cfa_offset 16
        .cfi_offset %rbp, -16
        movq %rsp, %rbp
        .cfi_def_cfa_register %rbp
        movq %rdi, %rax
        movq %rsi, %rdi
        movq %rdx, %rsp
        call *%rax
        movq %rbp, %rsp
        popq %rbp
        .cfi_def_cfa %rsp, 8
        ret
        .cfi_endproc
        .size kelmMoveStack, .-kelmMoveStack

        .p2align 4
        .hidden kelmCallOnStack
        .globl kelmCallOnStack
        .type kelmCallOnStack, @function
kelmCallOnStack:
        .cfi_startproc
        subq $8, %rsp
        .cfi_def_cfa_offset 16
        call kelmMoveStack
        addq $8, %rsp
        .cfi_def_cfa_offset 8
        ret
        .cfi_endproc
        .size kelmCallOnStack, .-kelmCallOnStack
)");

#elif defined(__aarch64__)

// The hints sign and check the return address (paciasp, autiasp) where the processor does so, and do nothing elsewhere.
asm(R"(
        .text
        .p2align 4
        .type kelmMoveStack, %function
kelmMoveStack:
        .cfi_startproc
        .cfi_signal_frame
        hint #25
        .cfi_negate_ra_state
        stp x29, x30, [sp, #-16]!
        .cfi_def_cfa_offset 16
        .cfi_offset 29, -16
        .cfi_offset 30, -8
        mov x29, sp
        .cfi_def_cfa_register 29
        mov x9, x0
        mov x0, x1
        mov sp, x2
        blr x9
        mov sp, x29
        .cfi_def_cfa_register 31
        ldp x29, x30, [sp], #16
        .cfi_restore 29
        .cfi_restore 30
        .cfi_def_cfa_offset 0
        hint #29
        .cfi_negate_ra_state
        ret
        .cfi_endproc
        .size kelmMoveStack, .-kelmMoveStack

        .p2align 4
        .hidden kelmCallOnStack
        .globl kelmCallOnStack
        .type kelmCallOnStack, %function
kelmCallOnStack:
        .cfi_startproc
        hint #25
        .cfi_negate_ra_state
        stp x29, x30, [sp, #-16]!
        .cfi_def_cfa_offset 16
        .cfi_offset 29, -16
        .cfi_offset 30, -8
        mov x29, sp
        bl kelmMoveStack
        ldp x29, x30, [sp], #16
        .cfi_restore 29
        .cfi_restore 30
        .cfi_def_cfa_offset 0
        hint #29
        .cfi_negate_ra_state
        ret
        .cfi_endproc
        .size kelmCallOnStack, .-kelmCallOnStack
)");

#endif

extern "C" __attribute__((visibility("hidden"))) void kelmCallOnStack(void (*call)(void*), void* context, void* top);

namespace kelm
{

void CallOnStack(void (*call)(void*), void* context, void* low, std::size_t size)
{
    kelmCallOnStack(call, context, static_cast<char*>(low) + size);
}

} // namespace kelm

#else

namespace kelm
{
namespace
{

struct Crossing
{
    void (*m_call)(void*);
    void* m_context;
    std::exception_ptr m_failure{};
    ucontext_t m_caller{};
};

// makecontext hands on nothing but integers.
constinit thread_local Crossing* t_crossing = nullptr;

// The first frame there. No exception may pass it, since no frame lies above to unwind to.
void Enter()
{
    Crossing& crossing = *t_crossing;
    try
    {
        crossing.m_call(crossing.m_context);
    }
    catch (...)
    {
        crossing.m_failure = std::current_exception();
    }
}

} // namespace

void CallOnStack(void (*call)(void*), void* context, void* low, std::size_t size)
{
    Crossing crossing{call, context};
    ucontext_t callee;
    getcontext(&callee);
    callee.uc_stack.ss_sp = low;
    callee.uc_stack.ss_size = size;
    callee.uc_link = &crossing.m_caller;
    makecontext(&callee, Enter, 0);
    t_crossing = &crossing;
    swapcontext(&crossing.m_caller, &callee);
    if (crossing.m_failure)
        std::rethrow_exception(crossing.m_failure);
}

} // namespace kelm

#endif
