// The agent behind a real database server (a redis-server of the benchmark's own): round trip
// from another process's HSET to the pin value in the pin table, resync of a large table on
// start and on reconnect, and the cost of sitting idle while connected.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <hiredis/hiredis.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/support/AgentRig.h"
#include "platform/redis/Backend.h"
#include "platform/redis/TablePublisher.h"
#include "tests/redis/RedisServer.h"

namespace {

using namespace Statedb::Redis;
using PinlampBench::AgentRig;

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The scene: a server, `count` LEDs published in its tables (dark, one pin per colour), and the
// agent with its backend, not yet started.
struct Scene {
  explicit Scene(std::size_t count)
      : server({"--notify-keyspace-events", "Kghx"}),
        rig(Zel::ActivityManager::TimeSource::monotonic) {
    std::string error;
    endpoint = *endpointOf(server.url(), error);
    publisher = TablePublisher::publisherIs(endpoint, error);
    if (!publisher) throw std::runtime_error(error);
    std::vector<std::vector<std::string>> batch;
    for (std::size_t i = 0; i < count; ++i) {
      std::string const led = AgentRig::ledName(i);
      batch.push_back({"HSET", keyOf(kMappingTable, led), "yellow", AgentRig::pinName('Y', i),
                       "green", AgentRig::pinName('G', i), "red", AgentRig::pinName('R', i),
                       "orange", AgentRig::pinName('O', i), "ready", "1"});
      batch.push_back({"HSET", keyOf(kLedTable, led), "green", "0"});
      if (batch.size() >= 20000) {
        publisher->pipelined(batch);
        batch.clear();
      }
    }
    publisher->pipelined(batch);
    backend = std::make_unique<Backend>(rig.loop(), endpoint, LinkSettings{}, rig.mappingDir(),
                                        rig.ledDir(), rig.pinDir(), [](LogRecord const&) {});
  }
  ~Scene() { backend.reset(); }

  // Starts backend and agent; seconds until every pin is in the pin table.
  double start() {
    double const begin = now();
    backend->start();
    rig.startAgent();
    settle();
    return now() - begin;
  }
  void settle() {
    bool done = false;
    backend->barrier([&done] { done = true; });
    while (!done) rig.loop().pollIo(0.01);
  }

  PinlampTest::RedisServer server;
  AgentRig rig;
  Endpoint endpoint;
  std::unique_ptr<TablePublisher> publisher;
  std::unique_ptr<Backend> backend;
};

// CPU seconds (user and system) of this process.
double cpuSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

// CPU seconds of another process of ours (the server), from its /proc entry; 0 when unreadable.
double cpuSecondsOf(int pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  // The command name may hold spaces; the fields after it are counted from its closing ')'.
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  double ticks = 0.0;
  for (int i = 3; i <= 15 && fields >> field; ++i) {
    if (i == 14 || i == 15) ticks += std::stod(field);  // utime, stime
  }
  return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

// Wall and CPU time of a stretch of work: on a shared machine the CPU figures say where the
// time goes even when the wall time is stretched by other load.
struct Span {
  explicit Span(int serverPid) : pid(serverPid) {}
  void report(benchmark::State& state, std::string const& name) const {
    state.counters[name + "_s"] = now() - wall;
    state.counters[name + "_cpu_s"] = cpuSeconds() - cpu;
    state.counters[name + "_server_cpu_s"] = cpuSecondsOf(pid) - server;
  }
  int pid;
  double wall = now();
  double cpu = cpuSeconds();
  double server = cpuSecondsOf(pid);
};

double percentile(std::vector<double> values, double fraction) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, static_cast<std::size_t>(fraction * values.size()))];
}

// The other process: sets LEDs green at `rate` per second and times each until the keyspace
// notification of its pin's write comes back. Writes the latencies (seconds) to `out`.
[[noreturn]] void publishAndTime(Endpoint const& endpoint, std::size_t leds, double rate,
                                 double seconds, int go, int out) {
  char byte;
  if (::read(go, &byte, 1) != 1) ::_exit(1);
  redisContext* writer = redisConnectUnix(endpoint.path.c_str());
  redisContext* watcher = redisConnectUnix(endpoint.path.c_str());
  redisReply* reply =
      static_cast<redisReply*>(redisCommand(watcher, "PSUBSCRIBE __keyspace@0__:GPIO_PIN|*"));
  freeReplyObject(reply);
  std::unordered_map<std::string, double> sent;
  std::vector<double> latencies;
  std::size_t const total = static_cast<std::size_t>(rate * seconds);
  double const begin = now();
  std::size_t next = 0;
  while (latencies.size() < total && now() < begin + seconds + 2.0) {
    double const due = begin + static_cast<double>(next) / rate;
    if (next < total && now() >= due) {
      std::size_t const led = next % leds;
      sent[AgentRig::pinName('G', led)] = now();
      freeReplyObject(
          redisCommand(writer, "HSET LED_CONFIG|%s green 1", AgentRig::ledName(led).c_str()));
      ++next;
      continue;
    }
    pollfd ready{watcher->fd, POLLIN, 0};
    // Rounded up: a publisher spinning on a zero time-out would take a core from the agent.
    int const waitMs =
        next < total ? std::max(0, static_cast<int>(std::ceil((due - now()) * 1000.0))) : 10;
    if (watcher->reader->pos == watcher->reader->len && ::poll(&ready, 1, waitMs) <= 0) continue;
    void* message = nullptr;
    if (redisGetReply(watcher, &message) != REDIS_OK) break;
    auto* m = static_cast<redisReply*>(message);
    if (m->type == REDIS_REPLY_ARRAY && m->elements == 4) {
      std::string const channel(m->element[2]->str, m->element[2]->len);
      auto found = sent.find(channel.substr(channel.find('|') + 1));
      if (found != sent.end()) {
        latencies.push_back(now() - found->second);
        sent.erase(found);
      }
    }
    freeReplyObject(m);
  }
  double const figures[3] = {percentile(latencies, 0.5), percentile(latencies, 0.99),
                             static_cast<double>(latencies.size())};
  if (::write(out, figures, sizeof figures) != sizeof figures) ::_exit(1);
  ::_exit(0);
}

void BM_DatabaseRoundTrip(benchmark::State& state) {
  std::size_t const leds = static_cast<std::size_t>(state.range(0));
  double const rate = static_cast<double>(state.range(1));
  double const seconds = 5.0;
  for (auto _ : state) {
    Scene scene(leds);
    scene.start();
    int go[2], out[2];
    if (::pipe(go) != 0 || ::pipe(out) != 0) throw std::runtime_error("pipe");
    pid_t const child = ::fork();
    if (child == 0) publishAndTime(scene.endpoint, leds, rate, seconds, go[0], out[1]);
    if (::write(go[1], "g", 1) != 1) throw std::runtime_error("pipe");
    scene.rig.loop().runFor(seconds + 2.5);
    double figures[3] = {};
    if (::read(out[0], figures, sizeof figures) != sizeof figures)
      throw std::runtime_error("child");
    ::waitpid(child, nullptr, 0);
    for (int fd : {go[0], go[1], out[0], out[1]}) ::close(fd);
    state.counters["p50_ms"] = figures[0] * 1e3;
    state.counters["p99_ms"] = figures[1] * 1e3;
    state.counters["changes"] = figures[2];
  }
}
BENCHMARK(BM_DatabaseRoundTrip)
    ->ArgNames({"leds", "rate"})
    ->Args({10000, 1000})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

void BM_DatabaseResync(benchmark::State& state) {
  std::size_t const leds = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    Scene scene(leds);
    Span const start(scene.server.pid());
    scene.backend->start();
    scene.rig.startAgent();
    // The pin table is written only once every input is read and applied (a restart shows no
    // dark blip): the first phase ends when the last LED is built.
    auto const built = [&scene, leds] {
      return scene.rig.agent().configReactor() && scene.rig.machineCount() >= leds;
    };
    while (!built()) scene.rig.loop().pollIo(0.001);
    state.counters["start_inputs_s"] = now() - start.wall;
    scene.settle();
    start.report(state, "start");
    auto const writes = scene.backend->pinWriter().writeCount();
    Span const reconnect(scene.server.pid());
    scene.publisher->command({"CLIENT", "KILL", "TYPE", "pubsub"});
    while (scene.backend->isUp()) scene.rig.loop().pollIo(0.01);
    while (!scene.backend->isUp()) scene.rig.loop().runFor(0.01);
    while (!scene.backend->mirror().isQuiet()) scene.rig.loop().pollIo(0.001);
    state.counters["reconnect_inputs_s"] = now() - reconnect.wall;
    scene.settle();
    reconnect.report(state, "reconnect");
    state.counters["reconnect_pin_writes"] =
        static_cast<double>(scene.backend->pinWriter().writeCount() - writes);
  }
}
BENCHMARK(BM_DatabaseResync)
    ->ArgNames({"leds"})
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

void BM_DatabaseIdle(benchmark::State& state) {
  double const seconds = static_cast<double>(state.range(0));
  for (auto _ : state) {
    Scene scene(100);
    scene.start();
    auto const wakes = scene.rig.loop().wakeCount();
    double const cpu = cpuSeconds();
    scene.rig.loop().runFor(seconds);
    state.counters["wakes_per_s"] =
        static_cast<double>(scene.rig.loop().wakeCount() - wakes) / seconds;
    state.counters["cpu_percent"] = (cpuSeconds() - cpu) / seconds * 100.0;
  }
}
BENCHMARK(BM_DatabaseIdle)->ArgNames({"seconds"})->Arg(20)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
