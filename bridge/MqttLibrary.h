#pragma once

namespace bridge {

/// Sets the MQTT library up, for as long as the object lives. Connections live within that time.
class MqttLibrary {
 public:
  MqttLibrary();
  MqttLibrary(const MqttLibrary&) = delete;
  MqttLibrary& operator=(const MqttLibrary&) = delete;
  ~MqttLibrary();
};

}  // namespace bridge
