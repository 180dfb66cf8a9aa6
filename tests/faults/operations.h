#pragma once

#include "tests/faults/faults.h"
#include "tests/support/support.h"

#include <array>
#include <deque>
#include <list>

namespace test
{

/// What an operation writes to: so many bytes of a known content between two guards.
class Room
{
public:
    void open(std::size_t size);
    /// What the bytes hold now is what they hold when the operation leaves them alone.
    void settle() { settled_ = bytes_; }

    template <class Record>
    Record* at()
    {
        return reinterpret_cast<Record*>(bytes_.data() + guard);
    }

    bool is_untouched() const { return bytes_ == settled_; }
    bool is_kept_within() const;

private:
    static constexpr std::size_t guard = 1024;
    using Bytes = std::array<unsigned char, 3 * guard + 4096>;
    alignas(16) Bytes bytes_{};
    Bytes settled_{};
    std::size_t size_ = 0;
};

/// What failed on the way to an outcome.
using Hit = const faults::Report&;

/// An operation of the library as a caller makes it, and how its outcome is to be judged.
struct Operation
{
    std::string name;
    const char* family;
    std::set<uint64_t> codes; ///< With which it may fail.
    std::size_t room;         ///< How many bytes it may write.
    std::function<bool()> run;
    std::function<bool(Hit)> right;     ///< After a success: whether the answer is right.
    std::set<std::string> touches = {}; ///< What it may make or remove in the work folder.
    std::function<void()> prepare = {};
    std::function<bool()> promised = {}; ///< After a failure; else the outputs are untouched.
    std::function<void()> release = {};
    bool asks_commands = false; ///< The answer is that of programs on PATH.
    bool refuses = false;       ///< It fails even when all is well.
    bool may_throw = false;
    bool resets_child_signal = false;
    bool leaves_error = false; ///< The error state may tell of a part that failed.
};

struct Outcome
{
    bool result = false;
    bool threw = false;
    int system_errno = 0;
};

/// Makes an operation, with errno cleared.
Outcome call(const Operation& operation);

/// Nothing that follows may be able to do harm.
void become_ordinary_user();

/// A small world in which every operation has one right answer: files, stand-in commands, children.
class World
{
public:
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const std::deque<Operation>& operations() const { return operations_; }
    const std::string& work() const { return work_; }

    void prepare(const Operation& operation);
    /// What is wrong with an outcome; empty when nothing is.
    ///
    /// @param own_commands whether the programs on PATH are still those of this world
    /// @param alone whether no other thread makes operations
    std::string judge(const Operation& operation, const Outcome& outcome, Hit hit,
                      bool own_commands = true, bool alone = true);
    void release(const Operation& operation);

private:
    struct Seen
    {
        std::array<std::size_t, 64> paths{};
        std::size_t count = 0;
        bool failed = false;
    };
    struct Rows
    {
        void** rows;
        int count;
    };

    void add_commands();
    void add_files(bool wide);
    void add_enumerations(bool wide);
    void add_walk();
    void add_hardware();
    void add_process_facts();
    void add_process_control();
    void add_system();
    void add_commands_run();

    Operation& add(std::string name, const char* family, std::set<uint64_t> codes, std::size_t room,
                   std::function<bool()> run, std::function<bool(Hit)> right);
    Operation& with_sleeper(Operation& operation);
    template <class Record>
    Record* at()
    {
        return room_.at<Record>();
    }

    void plant_tree();
    void start_sleeper();
    void end_sleeper();
    std::set<std::string> found() const;
    std::set<std::string> rows(bool wide);
    void free_rows();

    Scratch scratch_;
    std::string work_;
    std::string table_; ///< What ps prints of all processes.
    Environment path_;
    Environment display_;
    Environment language_;
    std::set<std::string> before_;
    std::set<std::string> planted_;
    Seen seen_;
    std::list<std::string> narrow_list_;
    std::list<std::wstring> wide_list_;
    Room room_;
    pid_t sleeper_ = 0;
    std::deque<Operation> operations_;
};

} // namespace test
