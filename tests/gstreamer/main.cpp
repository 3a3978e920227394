#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

/// Loads the plug-in of this build and, unless the environment says otherwise, no other: the tests need none.
int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  setenv("G_DEBUG", "fatal-criticals", 0);
  setenv("GST_PLUGIN_SYSTEM_PATH", "", 0);
  setenv("GST_REGISTRY_FORK", "no", 0);
  if (getenv("GST_REGISTRY") == nullptr) setenv("GST_REGISTRY_DISABLE", "yes", 0);
  gst_init(&count, &arguments);
  GError* error = nullptr;
  GstPlugin* plugin = gst_plugin_load_file(KV_GSTREAMER_PLUGIN, &error);
  if (plugin == nullptr) {
    std::fprintf(stderr, "%s\n", error->message);
    return EXIT_FAILURE;
  }
  gst_object_unref(plugin);
  const int result = RUN_ALL_TESTS();
  gst_deinit();
  return result;
}
