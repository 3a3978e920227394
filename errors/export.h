#pragma once

// The exception classes live in kv_Image, so that every module of a process shares one identity of each.
#include "image/export.h"
#define KV_ERRORS_API KV_IMAGE_API
