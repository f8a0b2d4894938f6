// Hosts that are wrong about the doors, the devices and their requests.
#include "check/planted.h"

namespace kowen::test {

std::vector<Planted> DoorMistakes() {
    return {
        {"UnknownFunctionOfAShortDoor",
         {"door-function", "door-function"},
         [](CheckedHost &host) {
             DeviceDoorFunction door = nullptr;
             host.module->Entry<ShortDoorFunction>("RASTER_dd_entry")(-4, &door, 0);
             host.module->Entry<ShortDoorFunction>("dd_entry")(-1, &door, 0);
             EXPECT_EQ(door, nullptr);
         }},
        {"UnknownFunctionOfADoor",
         {"door-function", "door-function"},
         [](CheckedHost &host) {
             EXPECT_EQ(host.raster(0, 3, nullptr), 0);
             EXPECT_EQ(host.exporter(0, 0xFFFD, nullptr), 0);
         }},
        {"AddressToNowhere",
         {"door-place", "door-place"},
         [](CheckedHost &host) {
             host.module->Entry<ShortDoorFunction>("RASTER_dd_entry")(KOWEN_DOOR_ADDRESS, nullptr,
                                                                      0);
             host.module->Entry<ShortDoorFunction>("dd_entry")(KOWEN_DOOR_VERSION, nullptr, 0);
         }},
        {"VersionToNowhere",
         {"door-place", "door-place"},
         [](CheckedHost &host) {
             EXPECT_EQ(host.raster(0, KOWEN_DD_VERSION, nullptr), 0);
             EXPECT_EQ(host.exporter(0, KOWEN_DD_VERSION, nullptr), 0);
         }},
    };
}

std::vector<Planted> DeviceMistakes() {
    return {
        {"NoOpenRecord",
         {"device-record"},
         [](CheckedHost &host) { EXPECT_EQ(host.raster(0, KOWEN_DD_INITIALISE, nullptr), 300); }},
        {"NoRequest",
         {"device-record"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 host.raster(0, KOWEN_DD_DISPATCH, nullptr);
                 host.Terminate();
             });
         }},
        {"RequestBeforeInitialisation",
         {"device-runs"},
         [](CheckedHost &host) { EXPECT_EQ(host.Run(kOpenDevice), 0); }},
        {"TerminatedTwice",
         {"device-runs"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 host.Terminate();
                 host.Terminate();
             });
         }},
        {"InitialisedWhileOpen",
         {"device-again"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 host.Run(kOpenDevice);
                 host.Initialise(setup);
                 host.Terminate();
             });
         }},
        {"DeviceWithoutASetup",
         {"device-setup"},
         [](CheckedHost &host) {
             host.Initialise(0);
             host.Terminate();
         }},
        {"ExportDeviceWithAnEndedSetup",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             host.destroySetup(setup);
             OpenRecord record = {};
             record.setup = setup;
             EXPECT_EQ(host.exporter(0, KOWEN_DD_INITIALISE, &record), 300);
         }},
        {"DevicesNameThatIsTooLong",
         {"device-name"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.InitialiseWithPath(setup, std::string(144, 'x'));
                 host.Terminate();
             });
         }},
        {"ExportDevicesNameThatIsTooLong",
         {"export-device-name"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 std::string name(4096, 'x');
                 OpenRecord record = {};
                 record.outputName = name.data();
                 record.setup = setup;
                 EXPECT_EQ(host.exporter(0, KOWEN_DD_INITIALISE, &record), 303);
             });
         }},
        {"RecordMissingWhileTheDeviceRuns",
         {"device-record", "device-runs"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [] { return 0; };
                 host.Initialise(setup, "b.jpg", &prank.record);
                 host.Run(kOpenDevice);
                 EXPECT_EQ(host.raster(0, KOWEN_DD_INITIALISE, nullptr), 300); // it has ended
                 EXPECT_EQ(host.Run(kBeginPicture), 0);
             });
         }},
    };
}

std::vector<Planted> RequestMistakes() {
    return {
        WrongDrawing("UnknownOpcode", {"request-state"},
                     [](CheckedHost &host) { EXPECT_EQ(host.Run(600), 0); }),
        WrongDrawing("WindowInTheBody", {"request-state"},
                     [](CheckedHost &host) { host.Run(WindowRequest(0, 0, 1, 1)); }),
        WrongDrawing("WindowWithoutItsArgumentsInTheBody", {"request-state"},
                     [](CheckedHost &host) {
                         host.Run(kSetWindow); // 16 bytes: none that does not run is read further
                         EXPECT_NE(host.Trace().find("record {opcode KOWEN_REQUEST_SET_WINDOW})"),
                                   std::string::npos);
                     }),
        WrongDrawing("PictureWiderThanTheWindow", {"window"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(9, 4, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("PictureWithoutItsSize", {"primitives"},
                     [](CheckedHost &host) {
                         Request picture(kPrimitive);
                         picture.Put(16, int32_t{-5}).Put(20, uint32_t{0}).Put(24, uint32_t{11});
                         host.Run(picture.PutBytes(28, "\0\0\0\0\0\0\0\0\0\0", 11));
                         host.Run(OpenPictureRequest(8, 4, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("CellsWithoutAPicture", {"primitives"},
                     [](CheckedHost &host) { host.Run(CellsRequest(8, 4, 24, kFourRows)); }),
        WrongDrawing("PictureWrittenTwice", {"primitives"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 4, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("RowsMissing", {"rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 5, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("RowsTooMany", {"rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 3, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("CellsOfAnotherDepth", {"rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 4, 24));
                         host.Run(CellsRequest(8, 4, 8, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("CellsAtNoAddress", {"cell-address", "rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 4, 24));
                         EXPECT_EQ(host.Run(FarCellsRequest(8, 4, -24, nullptr)), 300);
                         host.Run(WritePictureRequest());
                     }),
        {"PictureOpenedAndNotWritten",
         {"primitives"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.BeginBody(setup);
                 host.Run(OpenPictureRequest(8, 4, 24));
                 host.Run(CellsRequest(8, 4, 24, kFourRows));
                 host.Run(kEndPicture);
                 host.Run(kCloseDevice);
                 host.Terminate();
                 EXPECT_EQ(host.directory.Read("b.jpg"), "");
                 ExpectTold(host, "no picture was written: there was no -6 after -5");
             });
         }},
        {"DeviceClosedWithoutAPicture",
         {"primitives"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.BeginBody(setup);
                 host.Run(kCloseDevice);
                 host.Terminate();
             });
         }},
        {"PictureThatNobodyGets",
         {"device-output"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.InitialiseWithPath(setup, "");
                 host.Run(kOpenDevice);
                 host.Run(kBeginPicture);
                 host.Run(kBeginBody);
                 host.Run(OpenPictureRequest(1, 2, 24));
                 host.Run(CellsRequest(1, 2, 24, std::vector<uint8_t>(8)));
                 host.Run(WritePictureRequest());
                 host.Run(kEndPicture);
                 host.Run(kCloseDevice);
                 host.Terminate();
             });
         }},
        WrongDrawing("ColoursCountedWithoutTheirPlace", {"colour-count"},
                     [](CheckedHost &host) {
                         Request colours = ColorsRequest(0, {1, 2, 3});
                         host.Run(colours.Put(4, uint32_t{3}));
                     }),
        WrongDrawing("ColoursBeyondTheTable", {"colour-count"},
                     [](CheckedHost &host) {
                         host.Run(ColorsRequest(255, {1, 2, 3, 4, 5, 6}));
                     }),
        WrongDrawing("PoppedErrorsBeyondTheReturnArea", {"return-area"},
                     [](CheckedHost &host) {
                         host.Run(kQueryWindow);
                         host.Run(PopErrorsRequest());
                     }),
        WrongDrawing("AnswersBeyondTheReturnArea", {"return-area"},
                     [](CheckedHost &host) {
                         host.Run(kQueryWindow);
                         host.Run(kQueryViewport);
                     }),
        {"PoppedErrorsCountInTheReturnArea",
         {"return-area"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.returnAreaSize = 51; // 48 and 4
                 host.BeginBody(setup);
                 host.Run(PopErrorsRequest());
                 host.Run(kQueryWindow);
                 host.EndPicture();
             });
         }},
    };
}

} // namespace kowen::test
