#pragma once

namespace Virtual {

class Bench;

/// Attaches what the environment variable ORVEX_BENCH names, for applications that know nothing of the bench: kinds,
/// separated by commas, each with "@" and a place behind it if it is not "usb". What cannot be attached is told on the
/// standard error stream and left out.
void FurnishFromEnvironment(Bench& bench);

}
