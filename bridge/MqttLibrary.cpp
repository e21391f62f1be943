#include "bridge/MqttLibrary.h"

#include <mosquitto.h>

#include <stdexcept>
#include <string>

namespace bridge {

MqttLibrary::MqttLibrary() {
  const int result = mosquitto_lib_init();
  if (result != MOSQ_ERR_SUCCESS) {
    throw std::runtime_error(std::string("the MQTT library: ") + mosquitto_strerror(result));
  }
}

MqttLibrary::~MqttLibrary() { mosquitto_lib_cleanup(); }

}  // namespace bridge
