// Joysticks.

#include "tests/library/rows/rows.h"

#include <list>
#include <string>

using scripted::debugLine;
using scripted::errorLine;
using scripted::pointer;

namespace {

int noJoystickCallback(unsigned short, _JoystickResult, void*) {
  return 0;
}

int joystickData;

std::string pointerTo(JoystickCallback callback) {
  return pointer(reinterpret_cast<void*>(callback));
}

std::string entryLine(JoystickCallback callback, void* userData) {
  return debugLine("RegisterJoystickCallback", "enter, cb[%p] userData[%p]",
                   "enter, cb[" + pointerTo(callback) + "] userData[" + pointer(userData) + "]");
}

}  // namespace

std::vector<RemoteOperation> joystickRows() {
  return {
      RemoteOperation(
          SLOT(94, std::list<JoystickDevice>, GetJoystickDevList, ()),
          [](qx::VelProxy& proxy) { return shownRecords(proxy.GetJoystickDevList()); },
          "getJoystickDevList()")
          .answered(twoRecords(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsUnderLock({debugLine("GetJoystickDevList", "")})
          .logsAfterReply(
              {debugLine("GetJoystickDevList", "joystick list size: %d", "joystick list size: 2")}),

      RemoteOperation(
          SLOT(95, std::list<JoystickMapping>, GetJoystickMappingList, ()),
          [](qx::VelProxy& proxy) { return shownRecords(proxy.GetJoystickMappingList()); },
          "getJoystickMappingList()")
          .answered(twoRecords(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsUnderLock({debugLine("GetJoystickMappingList", "")})
          .logsAfterReply({debugLine("GetJoystickMappingList", "joystick list size: %d",
                                     "joystick list size: 2")}),

      RemoteOperation(
          SLOT(96, int, SetJoystickMapping, (unsigned short, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.SetJoystickMapping(65521, 65522)); },
          "setJoystickMapping(int16 -15, int16 -14)")
          .logsFirst({debugLine("SetJoystickMapping", "enter devIndex[%d], mappingIndex[%d]",
                                "enter devIndex[65521], mappingIndex[65522]")})
          .logsBeforeCall(
              {debugLine("SetJoystickMapping", "SetJoystickMapping devIndex:%d, mappingIndex:%d",
                         "SetJoystickMapping devIndex:65521, mappingIndex:65522")})
          .logsReply(),

      RemoteOperation(
          SLOT(97, int, CalibrationJoystick, (unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.CalibrationJoystick(65523)); },
          "calibrationJoystick(int16 -13)")
          .logsFirst(
              {debugLine("CalibrationJoystick", "enter devIndex[%d]", "enter devIndex[65523]")})
          .logsBeforeCall({debugLine("CalibrationJoystick", "CalibrationJoystick devIndex:%d",
                                     "CalibrationJoystick devIndex:65523")})
          .logsReply(),

      RemoteOperation(
          SLOT(98, int, RegisterJoystickCallback,
               (int (*)(unsigned short, _JoystickResult, void*), void*)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.RegisterJoystickCallback(&noJoystickCallback, &joystickData));
          },
          "registerJoystickCallback(bytes[8] " + std::string(kProxyBytes) + ")")
          .logsFirst({entryLine(&noJoystickCallback, &joystickData)})
          .logsBeforeCall(
              {debugLine("RegisterJoystickCallback", "registerJoystickCallback objId:%ld",
                         "registerJoystickCallback objId:" + std::string(kProxyNumber))})
          .logsReply()
          .refusing("NullUserData",
                    [](qx::VelProxy& proxy) {
                      return shown(proxy.RegisterJoystickCallback(&noJoystickCallback, nullptr));
                    },
                    "-1",
                    {entryLine(&noJoystickCallback, nullptr),
                     errorLine("RegisterJoystickCallback", "callback or userData is NULL")})
          .refusing("NullCallback",
                    [](qx::VelProxy& proxy) {
                      return shown(proxy.RegisterJoystickCallback(nullptr, &joystickData));
                    },
                    "-1",
                    {entryLine(nullptr, &joystickData),
                     errorLine("RegisterJoystickCallback", "callback or userData is NULL")}),

      RemoteOperation(
          SLOT(99, int, UnregisterJoystickCallback, (void*)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.UnregisterJoystickCallback(&joystickData));
          },
          "unregisterJoystickCallback(bytes[8] " + std::string(kProxyBytes) + ")")
          .logsFirst({debugLine("UnregisterJoystickCallback", "end userData[%p]",
                                "end userData[" + pointer(&joystickData) + "]")})
          .logsBeforeCall(
              {debugLine("UnregisterJoystickCallback", "unregisterJoystickCallback objId:%ld",
                         "unregisterJoystickCallback objId:" + std::string(kProxyNumber))})
          .logsReply(),
  };
}
