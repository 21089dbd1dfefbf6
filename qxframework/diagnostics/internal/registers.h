#pragma once

// The registers of the two machines, in the order of their DWARF numbers.

#include "qxframework/diagnostics/exception_context.h"
#include "qxframework/diagnostics/internal/symbol_session.h"

#include <cstdint>

namespace qx::diagnostics {

#if defined(__x86_64__)

inline constexpr DWORD kMachine = kMachineX64;

// The numbers are in the System V application binary interface for this machine, figure 3.36. The
// return address has a number of its own, 16.
struct Registers {
  static constexpr unsigned kCount = 17;
  static constexpr unsigned kFrame = 6, kStack = 7, kReturn = 16;
  std::uint64_t numbered[kCount];
  std::uint64_t pc;
};

inline Registers registersOf(const CONTEXT& context) {
  constexpr int kOrder[] = {REG_RAX, REG_RDX, REG_RCX, REG_RBX, REG_RSI, REG_RDI,
                            REG_RBP, REG_RSP, REG_R8,  REG_R9,  REG_R10, REG_R11,
                            REG_R12, REG_R13, REG_R14, REG_R15, REG_RIP};
  Registers registers{};
  for (unsigned i = 0; i < Registers::kCount; ++i) {
    registers.numbered[i] = static_cast<std::uint64_t>(context.Machine.gregs[kOrder[i]]);
  }
  registers.pc = registers.numbered[Registers::kReturn];
  return registers;
}

/// Finds the return address directly after a call. Returns false if the stack cannot be read.
template <class Read>
bool returnAddressOfCall(const Registers& registers, Read&& read, std::uint64_t* address) {
  return read(registers.numbered[Registers::kStack], address);
}

/// Makes the registers those of the caller directly after a return from the call.
inline void leaveCall(Registers& registers, std::uint64_t caller) {
  registers.pc = registers.numbered[Registers::kReturn] = caller;
  registers.numbered[Registers::kStack] += sizeof(std::uint64_t);
}

#elif defined(__aarch64__)

inline constexpr DWORD kMachine = kMachineArm64;

// The numbers are in "DWARF for the Arm 64-bit Architecture", section 4.1.
struct Registers {
  static constexpr unsigned kCount = 32;
  static constexpr unsigned kFrame = 29, kReturn = 30, kStack = 31;
  std::uint64_t numbered[kCount];
  std::uint64_t pc;
};

inline Registers registersOf(const CONTEXT& context) {
  Registers registers{};
  for (unsigned i = 0; i < 31; ++i) registers.numbered[i] = context.Machine.regs[i];
  registers.numbered[Registers::kStack] = context.Machine.sp;
  registers.pc = context.Machine.pc;
  return registers;
}

// A call stores its return address in a register of this machine.
template <class Read>
bool returnAddressOfCall(const Registers& registers, Read&&, std::uint64_t* address) {
  *address = registers.numbered[Registers::kReturn];
  return true;
}

inline void leaveCall(Registers& registers, std::uint64_t caller) { registers.pc = caller; }

#else
#error "qxframework/diagnostics: name the registers of this machine in registers.h"
#endif

}  // namespace qx::diagnostics
