#include "gstreamer/elements.h"

#define PACKAGE "kv_algo"

namespace {

gboolean Register(GstPlugin* plugin) {
  using namespace kv_gst;
  bool isDone = true;
  for (const FilterInfo* info :
       {&convertElement, &boxFilterElement, &panElement, &parityElement, &trackElement}) {
    isDone = RegisterFilter(plugin, *info) && isDone;
  }
  for (const MixerInfo* info : {&alphaColorElement, &averageElement, &blendElement, &differenceElement}) {
    isDone = RegisterMixer(plugin, *info) && isDone;
  }
  return isDone ? TRUE : FALSE;
}

}  // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, kvalgo,
                  "Packed 4:2:2 video: conversion, filters, fields, keys and search", Register, KV_VERSION,
                  "MIT/X11", "kv_algo", "https://kv-algo.invalid/")
