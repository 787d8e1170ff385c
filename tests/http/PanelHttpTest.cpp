// The endpoint as a client meets it, on a live loop and a unix socket: what the JSON and the
// metrics say about the session's LEDs and pins, the event stream, and requests that are
// malformed, too large, slow or abandoned, none of which may stop the loop serving the others.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "HttpClient.h"
#include "host/http/ListenAddress.h"
#include "host/http/PanelHttp.h"
#include "host/run/Session.h"
#include "host/script/Publisher.h"
#include "platform/model/CorvelPinConfig.h"

namespace Http {
namespace {

using Testing::HttpClient;
using Testing::Response;

class PanelHttpTest : public testing::Test {
 protected:
  void SetUp() override {
    char folder[] = "/tmp/panel-http-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    folder_ = folder;
    address_ = "unix:" + folder_ + "/http.sock";
    Host::MappingCommand status;
    status.led = "Status";
    status.pins[1] = std::vector<std::string>{"status_green"};
    status.pins[2] = std::vector<std::string>{"status_red", "status_red2"};
    status.ready = true;
    Host::publishMapping(session_.mappings(), status);
    Host::LedCommand lit;
    lit.led = "Status";
    lit.lit[1] = true;
    lit.flashInterval = 0.5;
    Host::publishLed(session_.leds(), lit);
    pin("status_green")->valueIs(1);
    pin("status_red")->valueIs(0);
  }

  void TearDown() override {
    panel_.reset();
    std::filesystem::remove_all(folder_);
  }

  Zel::Ptr<Hardware::Gpio::CorvelPinConfig> pin(char const* name) {
    auto existing = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(session_.pins().entityRef(name));
    if (existing) return existing;
    return Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(
        session_.pins().entryIs(name, "Hardware::Gpio::CorvelPinConfig"));
  }

  void start(ServerLimits limits = {}) {
    panel_ = std::make_unique<PanelHttp>(
        PanelFeed{"bench", session_.loop(), session_.pins(), &session_.mappings(), &session_.leds(),
                  [] { return std::string("embedded"); }, session_.startTime()},
        address_, false, [this](std::string const& line) { log_.push_back(line); }, limits);
  }

  Response get(std::string const& path) { return Testing::get(session_.loop(), address_, path); }

  // A viewer of the event stream, past its first picture.
  std::unique_ptr<HttpClient> watch() {
    auto viewer = std::make_unique<HttpClient>(session_.loop(), address_);
    viewer->send("GET /events HTTP/1.1\r\nHost: test\r\n\r\n");
    EXPECT_TRUE(viewer->waitFor("event: picture", 2)) << viewer->received();
    return viewer;
  }

  void publishFan() {
    Host::MappingCommand fan;
    fan.led = "Fan1";
    fan.pins[1] = std::vector<std::string>{"fan1_green"};
    Host::publishMapping(session_.mappings(), fan);
  }

  Host::Session session_{Zel::ActivityManager::TimeSource::monotonic, [](std::string const&) {}};
  std::string folder_;
  std::string address_;
  std::vector<std::string> log_;
  std::unique_ptr<PanelHttp> panel_;
};

TEST_F(PanelHttpTest, JsonShowsTheLedsAndPinsAsTheSessionHasThem) {
  start();
  Response const leds = get("/leds");
  EXPECT_EQ(leds.status, 200);
  EXPECT_NE(leds.headers.find("application/json"), std::string::npos);
  EXPECT_EQ(leds.body,
            "[{\"name\":\"Status\",\"ready\":true,\"setting\":{\"colours\":[\"green\"],"
            "\"flashInterval\":0.500,\"text\":\"[green flash 0.5s]\"},\"mapping\":{\"yellow\":[],"
            "\"green\":[\"status_green\"],\"red\":[\"status_red\",\"status_red2\"],"
            "\"orange\":[]}}]\n");
  // Names come from other agents and may hold anything JSON must escape.
  Host::MappingCommand odd;
  odd.led = "odd\"name\\\n";
  odd.pins[0] = std::vector<std::string>{"odd_y"};
  Host::publishMapping(session_.mappings(), odd);
  EXPECT_NE(get("/leds").body.find("{\"name\":\"odd\\\"name\\\\\\n\",\"ready\":false,"
                                   "\"setting\":null,"),
            std::string::npos)
      << get("/leds").body;
  Response const pins = get("/pins?fresh=1");  // a query string changes nothing
  EXPECT_EQ(pins.body,
            "[{\"name\":\"status_green\",\"value\":1},{\"name\":\"status_red\",\"value\":0}]\n");
  pin("status_red")->valueIs(1);
  EXPECT_NE(get("/pins").body.find("{\"name\":\"status_red\",\"value\":1}"), std::string::npos);
  EXPECT_EQ(get("/nowhere").status, 404);
  Response const page = get("/");
  EXPECT_EQ(page.status, 200);
  EXPECT_NE(page.body.find("new EventSource(\"events\")"), std::string::npos);
  // Self-contained: nothing on the page is fetched from elsewhere.
  EXPECT_EQ(page.body.find("src="), std::string::npos);
  EXPECT_EQ(page.body.find("href="), std::string::npos);
}

// Each sample line is NAME{LABELS} VALUE under a TYPE line of its family; promtool checks the
// live output the same way in the browser test, where the whole program runs.
TEST_F(PanelHttpTest, MetricsAreInTheTextFormatAndCountWhatHappened) {
  start();
  get("/pins");
  std::string const text = get("/metrics").body;
  std::regex const sample(R"(^([a-z_]+)(\{[a-z]+="[^"]*"\})? (-?[0-9.e+-]+|\+Inf)$)");
  std::string family;
  std::istringstream lines(text);
  int samples = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("# TYPE ")) {
      family = line.substr(7, line.find(' ', 7) - 7);
      continue;
    }
    if (line.starts_with("# HELP ")) continue;
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, sample)) << line;
    EXPECT_TRUE(match[1].str().starts_with(family)) << line << " outside " << family;
    ++samples;
  }
  EXPECT_GT(samples, 15);
  EXPECT_NE(text.find("pinlamp_leds_mapped 1\n"), std::string::npos);
  EXPECT_NE(text.find("pinlamp_leds_ready 1\n"), std::string::npos);
  EXPECT_NE(text.find("pinlamp_pins{value=\"lit\"} 1\n"), std::string::npos);
  EXPECT_NE(text.find("pinlamp_pins{value=\"dark\"} 1\n"), std::string::npos);
  EXPECT_NE(text.find("pinlamp_http_requests_total 2\n"), std::string::npos);  // this one too
  EXPECT_EQ(text.find("pinlamp_database_connected"), std::string::npos);       // embedded: no link
}

bool hasChange(std::string const& text) {
  return text.find("\ndata: {\"time\"") != std::string::npos;
}

TEST_F(PanelHttpTest, AStreamStartsFromAPictureThenSendsOnlyWhatChangedPerTurn) {
  start();
  HttpClient viewer(session_.loop(), address_);
  viewer.send("GET /events HTTP/1.1\r\nHost: test\r\n\r\n");
  ASSERT_TRUE(viewer.waitFor("event: picture\ndata: {\"title\":\"bench\"", 2));
  ASSERT_TRUE(viewer.waitFor("\"name\":\"status_green\",\"value\":1", 2));
  viewer.clear();
  pin("status_green")->valueIs(0);
  pin("status_red")->valueIs(1);
  pin("status_red")->valueIs(0);
  pin("status_red")->valueIs(1);
  viewer.receiveUntil(2, hasChange);
  std::string const& text = viewer.received();
  ASSERT_TRUE(hasChange(text)) << text;
  EXPECT_NE(text.find("\"pins\":{"), std::string::npos);
  EXPECT_NE(text.find("\"status_green\":0"), std::string::npos);
  EXPECT_NE(text.find("\"status_red\":1"), std::string::npos);
  // One event for the turn, with each pin once.
  EXPECT_EQ(text.find("data:", text.find("data:") + 1), std::string::npos) << text;
  EXPECT_EQ(text.find("status_red", text.find("status_red") + 1), std::string::npos) << text;
  // The next event has the next change alone.
  viewer.clear();
  pin("status_green")->valueIs(1);
  viewer.receiveUntil(2, hasChange);
  EXPECT_NE(viewer.received().find("\"pins\":{\"status_green\":1}}"), std::string::npos)
      << viewer.received();
}

// LEDs come and go rarely and are compared at a slower pace, yet a mapping that comes is in the
// next event; a viewer arriving meanwhile must not make the others miss it.
TEST_F(PanelHttpTest, ANewLedComesWithTheNextEventToEveryViewer) {
  start();
  // Published while the first viewer's next event waits for its frame, the second arriving then.
  auto first = watch();
  first->clear();
  double const published = session_.loop().currentTime();
  publishFan();
  auto second = watch();
  EXPECT_NE(second->received().find("{\"name\":\"Fan1\""), std::string::npos);  // its picture
  ASSERT_TRUE(first->waitFor("{\"name\":\"Fan1\"", 2)) << first->received();
  EXPECT_NE(first->received().find("\"leds\":[{\"name\":\"Status\""), std::string::npos);
  // The slow comparison comes 0.5 s after the first viewer; a frame is 40 ms.
  EXPECT_LT(session_.loop().currentTime() - published, 0.3);
}

TEST_F(PanelHttpTest, AFastSeriesOfTurnsIsSentAtMostTwentyFiveTimesASecond) {
  start();
  auto viewer = watch();
  double const start = session_.loop().currentTime();
  std::uint32_t value = 0;
  while (session_.loop().currentTime() < start + 0.5) {
    pin("status_green")->valueIs(value ^= 1);
    session_.loop().runFor(0.002);  // a turn every 2 ms
  }
  viewer->receiveUntil(0.1);
  std::size_t events = 0;
  for (std::size_t at = 0;
       (at = viewer->received().find("\ndata: {\"time\"", at)) != std::string::npos; ++at) {
    ++events;
  }
  EXPECT_GE(events, 8u);
  EXPECT_LE(events, 15u);  // 0.6 s at 25 a second, and the first at once
}

// The event feed alone, on virtual time, so that work is sure to be waiting for its frame when
// the viewers change.
class PanelEventsTest : public testing::Test {
 protected:
  Host::Session session_{Zel::ActivityManager::TimeSource::virtualTime, [](std::string const&) {}};
  Zel::Ptr<Hardware::Gpio::CorvelPinConfig> pin_ = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(
      session_.pins().entryIs("fan_green", "Hardware::Gpio::CorvelPinConfig"));
  bool watched_ = true;
  std::vector<std::string> events_;
  PanelFeed const source_{
      "bench",          session_.loop(), session_.pins(),     &session_.mappings(),
      &session_.leds(), nullptr,         session_.startTime()};  // held by reference
  PanelEvents feed_{source_, [this] { return watched_; },
                    [this](std::string event) { events_.push_back(std::move(event)); }};
};

// Marks wait for the next event. If the last viewer leaves meanwhile and a pin changes while
// nobody watches, those marks hold values older than the next viewer's picture and must not
// reach it.
TEST_F(PanelEventsTest, AViewerArrivingAfterNobodyWatchedGetsNothingOlderThanItsPicture) {
  feed_.viewerArrived();
  pin_->valueIs(1);
  session_.loop().advance(0.001);  // the first event goes at once
  pin_->valueIs(0);                // marked, to go 40 ms after the first
  session_.loop().runPending();
  watched_ = false;
  pin_->valueIs(1);  // nobody watches: not marked
  session_.loop().runPending();
  watched_ = true;
  events_.clear();
  feed_.viewerArrived();  // its picture shows the pin lit
  session_.loop().advance(0.1);
  for (std::string const& event : events_) {
    EXPECT_EQ(event.find("\"fan_green\":0"), std::string::npos) << event;
  }
}

// A viewer arriving while a new LED waits for its frame must not make the others miss it.
TEST_F(PanelEventsTest, ANewLedWaitingForItsFrameIsSentThoughAnotherViewerArrives) {
  feed_.viewerArrived();
  pin_->valueIs(1);
  session_.loop().advance(0.001);  // an event now: the next waits for its frame
  events_.clear();
  Host::MappingCommand fan;
  fan.led = "Fan1";
  fan.pins[1] = std::vector<std::string>{"fan_green"};
  Host::publishMapping(session_.mappings(), fan);
  session_.loop().runPending();
  feed_.viewerArrived();
  session_.loop().advance(0.1);
  ASSERT_EQ(events_.size(), 1u);
  EXPECT_NE(events_[0].find("{\"name\":\"Fan1\""), std::string::npos) << events_[0];
}

TEST_F(PanelHttpTest, BadRequestsAreAnsweredOrDroppedAndTheLoopServesTheRest) {
  ServerLimits limits;
  limits.idleSeconds = 1;
  start(limits);
  {
    HttpClient garbage(session_.loop(), address_);
    garbage.send("THIS IS NOT HTTP\r\n\r\n");
    std::string const& reply = garbage.receiveUntil(2);
    EXPECT_TRUE(reply.starts_with("HTTP/1.1 400") || reply.empty()) << reply;
    EXPECT_TRUE(garbage.closedByServer());
  }
  {
    HttpClient post(session_.loop(), address_);
    // A body that would never end is not waited for.
    post.send("POST /leds HTTP/1.1\r\nHost: t\r\nContent-Length: 999999999\r\n\r\nhello");
    EXPECT_TRUE(post.waitFor("HTTP/1.1 405", 2)) << post.received();
    post.receiveUntil(2);
    EXPECT_TRUE(post.closedByServer());
  }
  {
    HttpClient huge(session_.loop(), address_);
    huge.send("GET /pins HTTP/1.1\r\nHost: t\r\nX-Padding: " + std::string(64 * 1024, 'a') +
              "\r\n\r\n");
    std::string const& reply = huge.receiveUntil(2);
    EXPECT_TRUE(reply.empty() || reply.starts_with("HTTP/1.1 431") ||
                reply.starts_with("HTTP/1.1 413") || reply.starts_with("HTTP/1.1 414"))
        << reply.substr(0, 100);
    EXPECT_EQ(reply.find("status_green"), std::string::npos);
  }
  // Slow clients that never finish their headers hold a connection each, not the loop.
  std::vector<std::unique_ptr<HttpClient>> slow;
  for (int i = 0; i < 20; ++i) {
    slow.push_back(std::make_unique<HttpClient>(session_.loop(), address_));
    slow.back()->send("GET /pins HTTP/1.1\r\nHost: t\r\nX-Slow: ");
  }
  double const before = session_.loop().currentTime();
  EXPECT_EQ(get("/pins").status, 200);
  EXPECT_LT(session_.loop().currentTime() - before, 0.5);
  // ... and are dropped once idle for the timeout.
  for (auto& client : slow) client->receiveUntil(3);
  for (auto& client : slow) EXPECT_TRUE(client->closedByServer());
}

TEST_F(PanelHttpTest, AViewerThatStopsReadingIsDroppedNotBuffered) {
  ServerLimits limits;
  limits.streamBacklogBytes = 64 * 1024;
  start(limits);
  HttpClient stalled(session_.loop(), address_);
  stalled.send("GET /events HTTP/1.1\r\nHost: test\r\n\r\n");
  session_.loop().runFor(0.05);
  // Many pins changing for a while: the socket's buffers fill, then the backlog passes its cap.
  std::vector<Zel::Ptr<Hardware::Gpio::CorvelPinConfig>> many;
  for (int i = 0; i < 500; ++i) many.push_back(pin(("flash" + std::to_string(i)).c_str()));
  std::uint32_t value = 0;
  for (int turn = 0; turn < 200 && panel_->server().streamCount() != 0; ++turn) {
    value ^= 1;
    for (auto& p : many) p->valueIs(value);
    session_.loop().runFor(0.041);
  }
  session_.loop().runFor(2.5);  // the dropped connection's last second
  EXPECT_EQ(panel_->server().streamCount(), 0u);
  EXPECT_EQ(panel_->server().droppedStreamCount(), 1u);
  EXPECT_EQ(get("/leds").status, 200);
}

TEST(ListenAddressTest, OnlyLoopbackAndUnixSocketsUnlessAllowed) {
  EXPECT_TRUE(parseListenAddress("unix:/run/x.sock").isUnix);
  ListenAddress const v6 = parseListenAddress("[::1]:8080");
  EXPECT_EQ(v6.host, "::1");
  EXPECT_EQ(v6.port, "8080");
  for (char const* bad : {"8080", "host:", ":80", "unix:", "127.0.0.1:http", "127.0.0.1:70000"}) {
    EXPECT_THROW(parseListenAddress(bad), ListenError) << bad;
  }
  try {
    listenOn(parseListenAddress("0.0.0.0:0"), false);
    ADD_FAILURE() << "listened on every address";
  } catch (ListenError const& error) {
    EXPECT_STREQ(error.what(),
                 "--http 0.0.0.0:0: not a loopback address (--http-allow-remote listens there)");
  }
  EXPECT_THROW(listenOn(parseListenAddress("example.org:80"), false), ListenError);
  // Checked before the service starts, so that a supervisor sees a configuration mistake.
  EXPECT_EQ(listenAddressError("", false), "");
  EXPECT_EQ(listenAddressError("unix:/run/pinlamp/http.sock", false), "");
  EXPECT_EQ(listenAddressError("[::1]:8080", false), "");
  EXPECT_EQ(listenAddressError("192.168.1.2:8080", false),
            "--http 192.168.1.2:8080: not a loopback address (--http-allow-remote listens there)");
  EXPECT_EQ(listenAddressError("192.168.1.2:8080", true), "");
  int const fd = listenOn(parseListenAddress("127.0.0.1:0"), false);
  EXPECT_GE(fd, 0);
  ::close(fd);
  int const remote = listenOn(parseListenAddress("0.0.0.0:0"), true);
  EXPECT_GE(remote, 0);
  ::close(remote);
}

TEST(ListenAddressTest, AStaleSocketIsReplacedButNoOtherFile) {
  char folder[] = "/tmp/panel-listen-XXXXXX";
  ASSERT_NE(::mkdtemp(folder), nullptr);
  std::string const path = std::string(folder) + "/http.sock";
  int const first = listenOn(parseListenAddress("unix:" + path), false);
  ::close(first);  // as a warden that was killed leaves it
  int const second = listenOn(parseListenAddress("unix:" + path), false);
  EXPECT_GE(second, 0);
  ::close(second);
  std::string const file = std::string(folder) + "/notes.txt";
  std::ofstream(file) << "keep me";
  EXPECT_THROW(listenOn(parseListenAddress("unix:" + file), false), ListenError);
  EXPECT_TRUE(std::filesystem::exists(file));
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace Http
