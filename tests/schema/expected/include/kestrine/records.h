// The records of the protocol, laid out in memory as on the wire: packed to 4 bytes, nothing in between. The
// readers and writers take the wire's byte order for what it is, whatever the host's own.
//
// A double can lie at an address that is a multiple of 4 only: copy the field, do not bind a reference to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kestrine/enums.h"
#include "kestrine/wire.h"

#pragma pack(push, 4)

struct HeaderT {
  std::int32_t lPacketSize = {};
  VL_DataType type = {};
};

// Element of BlockT.
struct ElementT {
  std::int32_t lTime = {};
  double dVal = {};
  std::int32_t bGood = {};
};

// Packet of type VL_DT_Block (3).
struct BlockT {
  HeaderT packetInfo = {};
  std::int32_t lNumber = {};
  ElementT data[1] = {};
};

// Begins every answer.
struct BasicCommandRT {
  HeaderT packetHeader = {};
  VL_Command command = {};
  VL_ResultStatus status = {};
};

// Parameters of "Set Speed" (1).
struct SpeedT {
  double dSpeed = {};
  std::int32_t bFast = {};
};

// Answer to "Get Speed" (2).
struct GetSpeedRT {
  BasicCommandRT packetInfo = {};
  SpeedT speed = {};
};

// Answer to "Get Names" (4), one for each item.
struct GetNamesRT {
  BasicCommandRT packetInfo = {};
  std::int32_t iTotal = {};
  char16_t cName[32] = {};
  std::uint8_t cFirst = {};
};

using GetOldNamesRT = GetNamesRT;

#pragma pack(pop)

static_assert(sizeof(HeaderT) == 8);
static_assert(offsetof(HeaderT, lPacketSize) == 0);
static_assert(offsetof(HeaderT, type) == 4);
static_assert(std::is_trivially_copyable_v<HeaderT>);

static_assert(sizeof(ElementT) == 16);
static_assert(offsetof(ElementT, lTime) == 0);
static_assert(offsetof(ElementT, dVal) == 4);
static_assert(offsetof(ElementT, bGood) == 12);
static_assert(std::is_trivially_copyable_v<ElementT>);

static_assert(sizeof(BlockT) == 28);
static_assert(offsetof(BlockT, packetInfo) == 0);
static_assert(offsetof(BlockT, lNumber) == 8);
static_assert(offsetof(BlockT, data) == 12);
static_assert(std::is_trivially_copyable_v<BlockT>);

static_assert(sizeof(BasicCommandRT) == 16);
static_assert(offsetof(BasicCommandRT, packetHeader) == 0);
static_assert(offsetof(BasicCommandRT, command) == 8);
static_assert(offsetof(BasicCommandRT, status) == 12);
static_assert(std::is_trivially_copyable_v<BasicCommandRT>);

static_assert(sizeof(SpeedT) == 12);
static_assert(offsetof(SpeedT, dSpeed) == 0);
static_assert(offsetof(SpeedT, bFast) == 8);
static_assert(std::is_trivially_copyable_v<SpeedT>);

static_assert(sizeof(GetSpeedRT) == 28);
static_assert(offsetof(GetSpeedRT, packetInfo) == 0);
static_assert(offsetof(GetSpeedRT, speed) == 16);
static_assert(std::is_trivially_copyable_v<GetSpeedRT>);

static_assert(sizeof(GetNamesRT) == 88);
static_assert(offsetof(GetNamesRT, packetInfo) == 0);
static_assert(offsetof(GetNamesRT, iTotal) == 16);
static_assert(offsetof(GetNamesRT, cName) == 20);
static_assert(offsetof(GetNamesRT, cFirst) == 84);
static_assert(std::is_trivially_copyable_v<GetNamesRT>);

namespace kestrine {

// What generic code has to know of a record: `size` as declared, with one element where elements follow,
// and `header_size`, where the elements begin. A record with elements has their type as `Element`.
template <class Record>
struct RecordTraits;

template <>
struct RecordTraits<HeaderT> {
  static constexpr std::size_t size = 8;
  static constexpr std::size_t header_size = 8;
};

template <>
struct RecordTraits<ElementT> {
  static constexpr std::size_t size = 16;
  static constexpr std::size_t header_size = 16;
};

template <>
struct RecordTraits<BlockT> {
  static constexpr std::size_t size = 28;
  static constexpr std::size_t header_size = 12;
  using Element = ElementT;
};

template <>
struct RecordTraits<BasicCommandRT> {
  static constexpr std::size_t size = 16;
  static constexpr std::size_t header_size = 16;
};

template <>
struct RecordTraits<SpeedT> {
  static constexpr std::size_t size = 12;
  static constexpr std::size_t header_size = 12;
};

template <>
struct RecordTraits<GetSpeedRT> {
  static constexpr std::size_t size = 28;
  static constexpr std::size_t header_size = 28;
};

template <>
struct RecordTraits<GetNamesRT> {
  static constexpr std::size_t size = 88;
  static constexpr std::size_t header_size = 88;
};

// Readers and writers of whole records; of a record with elements only the part before them. The readers of elements
// are a part of what calls them, in any case: of an element read in a loop, only the fields in use are loaded.

inline void read_record(const std::uint8_t* from, HeaderT& into) {
  into.lPacketSize = wire::load_i32(from + 0);
  into.type = static_cast<VL_DataType>(wire::load_i32(from + 4));
}

inline void write_record(const HeaderT& from, std::uint8_t* into) {
  wire::store_i32(into + 0, from.lPacketSize);
  wire::store_i32(into + 4, from.type);
}

[[gnu::always_inline]] inline void read_record(const std::uint8_t* from, ElementT& into) {
  into.lTime = wire::load_i32(from + 0);
  into.dVal = wire::load_f64(from + 4);
  into.bGood = wire::load_i32(from + 12);
}

inline void write_record(const ElementT& from, std::uint8_t* into) {
  wire::store_i32(into + 0, from.lTime);
  wire::store_f64(into + 4, from.dVal);
  wire::store_i32(into + 12, from.bGood);
}

inline void read_record(const std::uint8_t* from, BlockT& into) {
  read_record(from + 0, into.packetInfo);
  into.lNumber = wire::load_i32(from + 8);
}

inline void write_record(const BlockT& from, std::uint8_t* into) {
  write_record(from.packetInfo, into + 0);
  wire::store_i32(into + 8, from.lNumber);
}

inline void read_record(const std::uint8_t* from, BasicCommandRT& into) {
  read_record(from + 0, into.packetHeader);
  into.command = static_cast<VL_Command>(wire::load_i32(from + 8));
  into.status = static_cast<VL_ResultStatus>(wire::load_i32(from + 12));
}

inline void write_record(const BasicCommandRT& from, std::uint8_t* into) {
  write_record(from.packetHeader, into + 0);
  wire::store_i32(into + 8, from.command);
  wire::store_i32(into + 12, from.status);
}

inline void read_record(const std::uint8_t* from, SpeedT& into) {
  into.dSpeed = wire::load_f64(from + 0);
  into.bFast = wire::load_i32(from + 8);
}

inline void write_record(const SpeedT& from, std::uint8_t* into) {
  wire::store_f64(into + 0, from.dSpeed);
  wire::store_i32(into + 8, from.bFast);
}

inline void read_record(const std::uint8_t* from, GetSpeedRT& into) {
  read_record(from + 0, into.packetInfo);
  read_record(from + 16, into.speed);
}

inline void write_record(const GetSpeedRT& from, std::uint8_t* into) {
  write_record(from.packetInfo, into + 0);
  write_record(from.speed, into + 16);
}

inline void read_record(const std::uint8_t* from, GetNamesRT& into) {
  read_record(from + 0, into.packetInfo);
  into.iTotal = wire::load_i32(from + 16);
  wire::load_text(from + 20, into.cName, 32);
  into.cFirst = from[84];
}

inline void write_record(const GetNamesRT& from, std::uint8_t* into) {
  write_record(from.packetInfo, into + 0);
  wire::store_i32(into + 16, from.iTotal);
  wire::store_text(into + 20, from.cName, 32);
  into[84] = from.cFirst;
}

template <class Record>
[[gnu::always_inline]] inline Record read_as(const std::uint8_t* from) {
  Record record;
  read_record(from, record);
  return record;
}

// Element `index`, counted from 0, of a packet that holds that many.
template <class Record>
[[gnu::always_inline]] inline typename RecordTraits<Record>::Element read_element(const std::uint8_t* packet,
                                                                                  std::size_t index) {
  using Element = typename RecordTraits<Record>::Element;
  return read_as<Element>(packet + RecordTraits<Record>::header_size + index * RecordTraits<Element>::size);
}

}  // namespace kestrine
