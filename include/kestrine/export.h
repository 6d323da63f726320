// What libkestrine-host.so offers to libkestrine.so and to applications.
#pragma once

#define KESTRINE_HOST_API __attribute__((visibility("default")))
