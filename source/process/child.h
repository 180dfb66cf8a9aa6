#pragma once

#include <csignal>
#include <span>
#include <sys/types.h>

namespace mirovan
{

/// An action that a signal is to have in a child.
struct SignalAction
{
    int number;
    const struct sigaction* action;
};

/// How signals are set in a child when its program starts.
struct ChildSignals
{
    const sigset_t* mask = nullptr;             ///< Null: the calling thread's.
    std::span<const SignalAction> actions = {}; ///< The others are the caller's.
};

/// Starts a program as fork() and execv() would: with the caller's environment and descriptors, and
/// a child that ends with status 127, without running anything of the caller's, when the program
/// cannot be executed. It costs the same however much memory the caller uses.
///
/// Returns once the program runs or its child has ended. The child is the caller's to wait for.
///
/// @return the child's id; -1, with errno set, when no child can be created.
pid_t start_child(const char* path, char* const* arguments, const ChildSignals& signals = {});

/// waitpid(), again whenever a signal interrupts it; the status is not kept.
pid_t wait_for_child(pid_t child, int options = 0);

} // namespace mirovan
