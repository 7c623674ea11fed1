// orvane-demo: makes the beds of the demonstration, checks their renderings and draws what was
// heard.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "tools/demo/bed.h"
#include "tools/demo/hearing.h"
#include "tools/demo/picture.h"
#include "tools/demo/voices.h"

namespace demo {
namespace {

struct Arguments {
  std::string voices = "/usr/share/sounds/alsa";
  std::string file;
  std::string speakers;
  std::string impulse;
  double yaw_deg = 0.0;
  bool facing = false;
};

void write_impulse(const std::string& path) {
  Bed bed(kRateHz / 10);
  bed.place(render::Speaker::kFrontLeft, 0, {1.0f});
  bed.write(path);
}

int check(const Arguments& arguments) {
  std::optional<double> yaw_deg;
  if (!arguments.facing) yaw_deg = arguments.yaw_deg;
  const auto heard = hearing_measure(voices_read(arguments.voices), arguments.file, yaw_deg);
  return hearing_check(heard) ? 0 : 1;
}

void draw(const Arguments& arguments) {
  picture_draw(hearing_measure(voices_read(arguments.voices), arguments.speakers, 0.0),
               hearing_read(arguments.impulse, {}), arguments.file);
}

CLI::App* add_verb(CLI::App* app, const std::string& name, const std::string& help,
                   Arguments* arguments) {
  CLI::App* verb = app->add_subcommand(name, help);
  verb->add_option("FILE", arguments->file)->required();
  return verb;
}

int run(int argc, char** argv) {
  Arguments arguments;
  int status = 0;
  CLI::App app("The demonstration: beds, and what became of them.", "orvane-demo");
  app.add_option("--voices", arguments.voices, "Recordings of the channel names")
      ->capture_default_str();
  app.require_subcommand(1);
  add_verb(&app, "bed", "Write the programme to FILE: seven voices, 7.1, 48 kHz", &arguments)
      ->callback([&] { voices_write_bed(voices_read(arguments.voices), arguments.file); });
  add_verb(&app, "facing", "Write FILE, a trajectory of a head that faces each voice", &arguments)
      ->callback([&] { voices_write_facing(voices_read(arguments.voices), arguments.file); });
  add_verb(&app, "impulse", "Write FILE: 7.1 with one impulse from the front left", &arguments)
      ->callback([&] { write_impulse(arguments.file); });
  CLI::App* checking = add_verb(
      &app, "check", "Measure FILE, a dry rendering; status 1 if a voice is misplaced", &arguments);
  checking->add_option("--yaw", arguments.yaw_deg, "Of its pose, degrees to the left");
  checking->add_flag("--facing", arguments.facing, "Rendered with the trajectory of `facing`");
  checking->callback([&] { status = check(arguments); });
  CLI::App* drawing = add_verb(&app, "draw", "Draw FILE, an SVG picture", &arguments);
  drawing->add_option("--speakers", arguments.speakers, "Dry rendering of the bed")->required();
  drawing->add_option("--impulse", arguments.impulse, "Rendering of the impulse")->required();
  drawing->callback([&] { draw(arguments); });
  try {
    app.parse(argc, argv);
    return status;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
}

}  // namespace
}  // namespace demo

int main(int argc, char** argv) {
  try {
    return demo::run(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvane-demo: %s\n", failure.what());
    return 1;
  }
}
