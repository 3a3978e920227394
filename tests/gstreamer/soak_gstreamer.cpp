// soak_gstreamer SECONDS SEED: live pipelines of all elements whose properties change while they play, that are stopped
// and started anew. Prints frames and memory every ten seconds. Exit status 1 after an error on a bus, or when memory grows.
#include <gst/gst.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

#define KV_SOAK_SOURCE(pattern, format)                                        \
  "videotestsrc is-live=true pattern=" pattern " ! video/x-raw,format=" format \
  ",width=320,height=240,framerate=50/1"
#define KV_SOAK_SINK " ! fakesink name=sink sync=true"

constexpr const char* descriptions[] = {
    KV_SOAK_SOURCE("ball", "UYVY") " ! kvtrack half=20 ! kvconvert ! video/x-raw,format=BGR ! kvconvert"
                                   " ! video/x-raw,format=YUY2 ! kvboxfilter" KV_SOAK_SINK,
    KV_SOAK_SOURCE("smpte", "UYVY,interlace-mode=interleaved") " ! kvparity ! kvboxfilter" KV_SOAK_SINK,
    KV_SOAK_SOURCE("snow", "YUY2") " ! kvpan width=160 height=120 duration=1" KV_SOAK_SINK,
    KV_SOAK_SOURCE("snow", "UYVY") " ! queue ! kvdiff name=m" KV_SOAK_SINK " " KV_SOAK_SOURCE("ball", "UYVY")
        " ! queue ! m.",
    KV_SOAK_SOURCE("snow", "GRAY8") " ! queue ! kvaverage name=m" KV_SOAK_SINK
        " " KV_SOAK_SOURCE("ball", "GRAY8") " ! queue ! m.",
    KV_SOAK_SOURCE("smpte", "UYVY") " ! queue ! kvblend name=m" KV_SOAK_SINK " " KV_SOAK_SOURCE("ball", "UYVY")
        " ! queue ! m. " KV_SOAK_SOURCE("gradient", "GRAY8") " ! queue ! m.",
    KV_SOAK_SOURCE("chroma-zone-plate", "UYVY") " ! queue ! kvalphacolor" KV_SOAK_SINK,
};

/// What a property may be here: all of its values but where the picture or another property sets a limit.
struct Limit {
  const char* property;
  int low;
  int high;
};
constexpr Limit limits[] = {{"threads", 1, 4},  {"x", 60, 200},   {"y", 60, 180},     {"half", 0, 50},
                            {"range", 0, 24},   {"low", 0, 120},  {"high", 130, 255}, {"width", 2, 320},
                            {"height", 1, 240}, {"window", 1, 99}};

void Change(GObject* element, std::mt19937& random) {
  guint count = 0;
  GParamSpec** specs = g_object_class_list_properties(G_OBJECT_GET_CLASS(element), &count);
  std::vector<GParamSpec*> own;
  for (guint i = 0; i < count; ++i) {
    if (std::string(g_type_name(specs[i]->owner_type)).rfind("Kv", 0) == 0) own.push_back(specs[i]);
  }
  GParamSpec* spec = own[random() % own.size()];
  g_free(specs);
  const auto between = [&](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
  const char* name = spec->name;
  if (G_IS_PARAM_SPEC_INT(spec)) {
    int low = G_PARAM_SPEC_INT(spec)->minimum;
    int high = G_PARAM_SPEC_INT(spec)->maximum;
    for (const Limit& limit : limits) {
      if (name == std::string(limit.property)) {
        low = limit.low;
        high = limit.high;
      }
    }
    g_object_set(element, name, between(low, high), nullptr);
  } else if (G_IS_PARAM_SPEC_ENUM(spec)) {
    const GEnumClass* values = G_PARAM_SPEC_ENUM(spec)->enum_class;
    g_object_set(element, name, values->values[random() % values->n_values].value, nullptr);
  } else if (G_IS_PARAM_SPEC_FLAGS(spec)) {
    g_object_set(element, name, random() & G_PARAM_SPEC_FLAGS(spec)->flags_class->mask, nullptr);
  } else if (G_IS_PARAM_SPEC_BOOLEAN(spec)) {
    g_object_set(element, name, static_cast<gboolean>(random() % 2), nullptr);
  } else if (G_IS_PARAM_SPEC_DOUBLE(spec)) {
    g_object_set(element, name, between(1, 40) / 10.0, nullptr);
  } else {
    g_object_set(element, name, random() % 2 == 0 ? "kv_algoC" : nullptr, nullptr);
  }
}

/// All elements of the plug-in in a pipeline change one property.
void ChangeAll(GstElement* pipeline, std::mt19937& random) {
  GstIterator* elements = gst_bin_iterate_elements(GST_BIN(pipeline));
  GValue value = G_VALUE_INIT;
  while (gst_iterator_next(elements, &value) == GST_ITERATOR_OK) {
    GObject* element = G_OBJECT(g_value_get_object(&value));
    if (std::string(G_OBJECT_TYPE_NAME(element)).rfind("Kv", 0) == 0) Change(element, random);
    g_value_reset(&value);
  }
  g_value_unset(&value);
  gst_iterator_free(elements);
}

bool HasError(GstElement* pipeline) {
  GstBus* bus = gst_element_get_bus(pipeline);
  bool isWrong = false;
  while (GstMessage* message = gst_bus_pop(bus)) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
      GError* error = nullptr;
      gst_message_parse_error(message, &error, nullptr);
      std::printf("ERROR %s: %s\n", GST_MESSAGE_SRC_NAME(message), error->message);
      g_error_free(error);
      isWrong = true;
    }
    gst_message_unref(message);
  }
  gst_object_unref(bus);
  return isWrong;
}

long ResidentKib() {
  std::ifstream file("/proc/self/statm");
  long all = 0;
  long resident = 0;
  file >> all >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void CountFrame(GstElement* /*sink*/, GstBuffer* /*buffer*/, GstPad* /*pad*/, gpointer count) {
  g_atomic_int_inc(static_cast<gint*>(count));
}

bool Grows(const std::vector<long>& kib) {
  constexpr long mostGrowth = 8192;
  if (kib.size() < 6) return false;
  const auto third = static_cast<std::ptrdiff_t>(kib.size() / 3);
  const long early = *std::max_element(kib.begin() + third, kib.begin() + 2 * third);
  const long late = *std::min_element(kib.end() - third, kib.end());
  return late > early + mostGrowth;
}

int Soak(int seconds, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<GstElement*> pipelines;
  gint frames = 0;
  for (const char* description : descriptions) {
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description, &error);
    if (error != nullptr) {
      std::printf("%s: %s\n", description, error->message);
      return EXIT_FAILURE;
    }
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    g_object_set(sink, "signal-handoffs", TRUE, nullptr);
    g_signal_connect(sink, "handoff", G_CALLBACK(CountFrame), &frames);
    gst_object_unref(sink);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    pipelines.push_back(pipeline);
  }
  std::vector<long> kib;
  bool isWrong = false;
  constexpr gint64 step = 50 * G_TIME_SPAN_MILLISECOND;
  const gint64 rounds = seconds * G_TIME_SPAN_SECOND / step;
  for (gint64 round = 1; round <= rounds && !isWrong; ++round) {
    g_usleep(static_cast<gulong>(step));
    for (GstElement* pipeline : pipelines) ChangeAll(pipeline, random);
    GstElement* one = pipelines[random() % pipelines.size()];
    if (round % 100 == 0) {
      gst_element_set_state(one, GST_STATE_NULL);
      gst_element_set_state(one, GST_STATE_PLAYING);
    }
    for (GstElement* pipeline : pipelines) isWrong = HasError(pipeline) || isWrong;
    if (round % 200 != 0) continue;
    kib.push_back(ResidentKib());
    std::printf("elements: %lld s, frames %d, kib %ld\n",
                static_cast<long long>(round * step / G_TIME_SPAN_SECOND), g_atomic_int_get(&frames),
                kib.back());
    std::fflush(stdout);
  }
  for (GstElement* pipeline : pipelines) {
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
  }
  if (Grows(kib)) {
    std::printf("elements: memory grows\n");
    isWrong = true;
  }
  return isWrong || frames == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: soak_gstreamer SECONDS SEED\n");
    return 2;
  }
  gst_init(nullptr, nullptr);
  GError* error = nullptr;
  GstPlugin* plugin = gst_plugin_load_file(KV_GSTREAMER_PLUGIN, &error);
  if (plugin == nullptr) {
    std::fprintf(stderr, "%s\n", error->message);
    return EXIT_FAILURE;
  }
  gst_object_unref(plugin);
  const int result =
      Soak(std::atoi(arguments[1]), static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10)));
  gst_deinit();
  return result;
}
