// The simulator for programs in Python.
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>

#include "kestrine/simulator.h"

namespace py = pybind11;
using kestrine::simulator::Simulator;

PYBIND11_MODULE(_embedded_simulator, module) {
  // Its thread ends with it, and takes no interpreter lock.
  py::class_<Simulator>(module, "Service")
      .def(py::init([](std::uint16_t port, std::uint64_t seed, double time_scale, std::size_t block_points) {
        return std::make_unique<Simulator>(
            kestrine::simulator::Options{port, "127.0.0.1", seed, time_scale, block_points});
      }))
      .def_property_readonly("port", &Simulator::port);
}
