#include "sim/stats/traffic.h"

namespace {

// Size buckets as the chip counts them: 64, 65-127, 128-255, 256-511,
// 512-1023, 1024-1518, 1519-1530 bytes, with a typical frame length of each.
constexpr int kBuckets = 7;
constexpr double kBucketBytes[kBuckets] = {64, 100, 190, 380, 760, 1300, 1524};

struct Mix {
  double size[kBuckets];  // share of the frames per size bucket
  double ucast, mcast, bcast;
};

// A busy port carries user traffic: small acknowledgements and full-size data.
constexpr Mix kBusyMix = {{0.30, 0.22, 0.08, 0.06, 0.07, 0.265, 0.005}, 0.93, 0.05, 0.02};
// An idle port sees only control and flooded traffic: ARP, LLDP, spanning tree.
constexpr Mix kIdleMix = {{0.55, 0.35, 0.06, 0.04, 0, 0, 0}, 0.15, 0.60, 0.25};

struct Direction {
  double frames;
  double bucket[kBuckets];
  double bytes;
};

Direction spread(double frames, const Mix &mix) {
  Direction d{frames, {}, 0};
  for (int i = 0; i < kBuckets; ++i) {
    d.bucket[i] = frames * mix.size[i];
    d.bytes += d.bucket[i] * kBucketBytes[i];
  }
  return d;
}

void fillReceive(CounterRates &r, const Direction &rx, const Mix &mix, bool busy) {
  r[ctr_rx_total_bytes] = rx.bytes;
  for (int i = 0; i < kBuckets; ++i) r[ctr_rx_64 + i] = rx.bucket[i];
  r[ctr_rx_ucast_frames] = rx.frames * mix.ucast;
  r[ctr_rx_mcast_frames] = rx.frames * mix.mcast;
  r[ctr_rx_bcast_frames] = rx.frames * mix.bcast;
  r[ctr_rx_total_frames] = rx.frames;
  // Errors only where there is enough traffic to show them: a few per
  // ten million frames, as on a healthy copper link.
  double errors = busy ? rx.frames : 0;
  r[ctr_rx_fcs_errors] = errors * 2e-7;
  r[ctr_rx_crc_errors] = r[ctr_rx_fcs_errors];
  r[ctr_rx_error_undersize] = errors * 5e-8;
  r[ctr_rx_total_mac_error_frames] = r[ctr_rx_fcs_errors];
  r[ctr_rx_total_error_frames] = r[ctr_rx_fcs_errors] + r[ctr_rx_error_undersize];
  r[ctr_ether_stats_drop_events] = errors * 1e-6;
  r[ctr_snmpifindiscard_frames] = errors * 2e-6;
}

void fillTransmit(CounterRates &r, const Direction &tx, const Mix &mix, bool busy) {
  r[ctr_tx_total_bytes] = tx.bytes;
  for (int i = 0; i < kBuckets; ++i) r[ctr_tx_64 + i] = tx.bucket[i];
  r[ctr_tx_ucast_frames] = tx.frames * mix.ucast;
  r[ctr_tx_mcast_frames] = tx.frames * mix.mcast;
  r[ctr_tx_bcast_frames] = tx.frames * mix.bcast;
  r[ctr_tx_total_frames] = tx.frames;
  r[ctr_snmpifoutdiscard_frames] = busy ? tx.frames * 1e-6 : 0;
  // Full duplex: no collisions, and the chip does not corrupt what it sends.
}

void fillCombined(CounterRates &r, const Direction &rx, const Direction &tx) {
  for (int i = 0; i < kBuckets; ++i) r[ctr_tx_rx_64 + i] = rx.bucket[i] + tx.bucket[i];
  r[ctr_rx_rate_bits] = rx.bytes * 8;
  r[ctr_tx_rate_bits] = tx.bytes * 8;
  r[ctr_rx_rate_frames] = rx.frames;
  r[ctr_tx_rate_frames] = tx.frames;
}

}  // namespace

CounterRates portCounterRates(uint32_t port, PortLoad load, uint32_t speedMbps, bool linkUp) {
  CounterRates rates{};
  if (!linkUp) return rates;
  bool busy = load == PortLoad::Busy;
  double speedFactor = (speedMbps > 0 ? speedMbps : 1000) / 1000.0;
  double rxFrames = busy ? (3000.0 + 1200.0 * (port % 11)) * speedFactor : 1.0 + 0.25 * (port % 4);
  // Hosts send less than they receive; an idle port still sends spanning
  // tree hellos and LLDP, about one frame every two seconds.
  double txFrames = busy ? rxFrames * 0.7 + 120.0 * (port % 5) : 0.5;
  const Mix &mix = busy ? kBusyMix : kIdleMix;
  Direction rx = spread(rxFrames, mix), tx = spread(txFrames, mix);
  fillReceive(rates, rx, mix, busy);
  fillTransmit(rates, tx, mix, busy);
  fillCombined(rates, rx, tx);
  return rates;
}
