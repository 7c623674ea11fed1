// SPDX-License-Identifier: Apache-2.0
// What a block may not do on the audio thread, and that quiet ones take no longer: through the
// shared library, as it ships.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

#include "effect/orvane.h"
#include "tests/support/interposed.h"
#include "tests/support/steady_stream.h"

namespace {

// Blocks per layout and reflections mode; ORVANE_REALTIME_BLOCKS in the environment sets another
// number.
uint32_t num_blocks() {
  const char* wanted = getenv("ORVANE_REALTIME_BLOCKS");
  return wanted ? static_cast<uint32_t>(strtoul(wanted, nullptr, 10)) : 2000;
}

// From here on any system call but exit_group ends the process with SIGSYS.
bool forbid_system_calls() {
  sock_filter steps[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                         BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
                         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
                         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS)};
  const sock_fprog program = {std::size(steps), steps};
  const rlimit no_core = {0, 0};
  return setrlimit(RLIMIT_CORE, &no_core) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// Runs `body` in a child process that may make no system call. Returns how the child ended, as
// waitpid tells; 0 where `body` returned true.
int run_without_system_calls(const std::function<bool()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    if (!forbid_system_calls()) _exit(2);
    _exit(body() ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  return status;
}

// What a child process writes and its parent reads.
struct Tally {
  uint64_t blocks, heap_calls, locks, unlocks, other_locks;
};

Tally* shared_tally() {
  void* memory =
      mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return memory == MAP_FAILED ? nullptr : static_cast<Tally*>(memory);
}

// The head turns before each of eight blocks, then stays for eight. Only blocks are counted, not
// poses.
bool render_blocks(SteadyStream& stream, uint32_t blocks, Tally* tally) {
  const pthread_mutex_t* mutex = &orvane_module(stream.host().handle())->object.mutex;
  for (uint32_t block = 0; block < blocks; ++block) {
    if (block % 16 < 8 && !stream.turn_head()) return false;
    interposed_begin(mutex);
    const bool rendered = stream.render_block();
    const interposed_counts_t counts = interposed_end();
    if (!rendered) return false;
    ++tally->blocks;
    tally->heap_calls += counts.heap_calls;
    tally->locks += counts.locks;
    tally->unlocks += counts.unlocks;
    tally->other_locks += counts.other_locks;
  }
  return true;
}

class RealtimeTest : public ::testing::TestWithParam<std::tuple<orvane_layout_t, int>> {};

TEST_P(RealtimeTest, ABlockOnlyTakesTheMutexOfItsInstanceOnce) {
  const auto& [layout, mode] = GetParam();
  const uint32_t blocks = num_blocks();
  // Both kinds of tail appear with every layout and with every mode.
  SteadyStream stream(
      {layout, mode, (layout.num_channels / 2 + static_cast<uint32_t>(mode)) % 2 == 0, 64});
  Tally* tally = shared_tally();
  ASSERT_NE(nullptr, tally);
  const int end = run_without_system_calls([&] { return render_blocks(stream, blocks, tally); });
  EXPECT_EQ(0, end) << (WIFSIGNALED(end) && WTERMSIG(end) == SIGSYS ? "a system call" : "");
  EXPECT_EQ(blocks, tally->blocks);
  EXPECT_EQ(0u, tally->heap_calls);
  EXPECT_EQ(blocks, tally->locks);
  EXPECT_EQ(blocks, tally->unlocks);
  EXPECT_EQ(0u, tally->other_locks);
  printf("%lu blocks: %lu heap calls, %lu locks, %lu other locks, no system call\n", tally->blocks,
         tally->heap_calls, tally->locks, tally->other_locks);
  munmap(tally, sizeof(*tally));
}

INSTANTIATE_TEST_SUITE_P(Streams, RealtimeTest,
                         ::testing::Combine(::testing::ValuesIn(orvane_layouts),
                                            ::testing::Range(0, 5)),
                         [](const auto& test) {
                           return std::string("Layout") + test_name(std::get<0>(test.param)) +
                                  "Reflections" + std::to_string(std::get<1>(test.param));
                         });

TEST(RealtimeWatchTest, NoticesWhatABlockMayNotDo) {
  const int end = run_without_system_calls([] { return syscall(SYS_getppid) != 0; });
  EXPECT_TRUE(WIFSIGNALED(end) && WTERMSIG(end) == SIGSYS) << end;
  EXPECT_EQ(0, run_without_system_calls([] { return true; }));

  // A block of another length is the one that allocates; a pose takes this lock and another.
  SteadyStream stream({layout_named("5.1"), 0, false, 64});
  std::vector<float> in(6 * 32), out(2 * 32);
  pthread_mutex_t other = PTHREAD_MUTEX_INITIALIZER;
  interposed_begin(&orvane_module(stream.host().handle())->object.mutex);
  EXPECT_EQ(0, stream.host().process(in, out));
  EXPECT_TRUE(stream.turn_head());
  pthread_mutex_lock(&other);
  pthread_mutex_unlock(&other);
  const interposed_counts_t counts = interposed_end();
  EXPECT_EQ(2u * (1 + 6 + 1 + 2), counts.heap_calls);  // rows of both sides, taken and given back
  EXPECT_EQ(2u, counts.locks);
  EXPECT_EQ(2u, counts.unlocks);
  EXPECT_EQ(2u, counts.other_locks);
}

double block_seconds(SteadyStream& stream, bool turning) {
  EXPECT_TRUE(!turning || stream.turn_head());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(stream.render_block());
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Time of a block of `quiet` over that of one of `loud`, taken in turn: the median over a quarter
// of a second of them, in which the tail dies away.
double cost_ratio(SteadyStream& quiet, SteadyStream& loud, bool turning) {
  std::vector<double> ratios(51);
  for (double& ratio : ratios) ratio = block_seconds(quiet, turning) / block_seconds(loud, turning);
  std::ranges::nth_element(ratios, ratios.begin() + 25);
  return ratios[25];
}

class RealtimeCostTest : public ::testing::TestWithParam<std::tuple<int, bool, bool, float>> {};

// Right after the noise has ended, during its tail, and after the tail.
TEST_P(RealtimeCostTest, AQuietBlockTakesAsLongAsNoise) {
  const auto& [mode, dense_tail, turning, peak] = GetParam();
  const stream_scene_t scene = {layout_named("7.1.4"), mode, dense_tail, 256};
  SteadyStream loud(scene), quiet(scene);
  cost_ratio(quiet, loud, turning);
  quiet.set_level(peak);
  for (const char* when : {"at first", "then", "later"}) {
    const double ratio = cost_ratio(quiet, loud, turning);
    printf("reflections %d, %s tail, head %s, peak %g, %s: %.2f times the cost\n", mode,
           dense_tail ? "dense" : "sparse", turning ? "turning" : "static",
           static_cast<double>(peak), when, ratio);
    EXPECT_LE(ratio, 1.2);
  }
}

INSTANTIATE_TEST_SUITE_P(Scenes, RealtimeCostTest,
                         ::testing::Combine(::testing::Values(0, 4), ::testing::Bool(),
                                            ::testing::Bool(),
                                            // The first product of 1e-36 is subnormal; so is 1e-39.
                                            ::testing::Values(0.0f, 1e-36f, 1e-39f)));

}  // namespace
