// The simulated records, one table each, in the order of the interface's Get/Set row
// (docs/protocol.md; field meanings in docs/simulator.md).
#pragma once
#include "sim/record.h"

namespace sim {

using HoseRecord = CRecord<CSimHose, ObjNumber, ObjName, F<&CSimHose::pumpId>, F<&CSimHose::pumpHoseNumber, "", RW, 1, 8>,
                          F<&CSimHose::gradeId>, F<&CSimHose::tankId>>;

// Prices change through the forecourt, which tells the hoses and the clients.
using GradeRecord = CRecord<CSimGrade, ObjNumber, ObjName, F<&CSimGrade::shortName, "ShortName">,
                           F<&CSimGrade::productId>, AtC<&CSimGrade::price, 0, "Price1", RO, 0, kMaxPrice>,
                           AtC<&CSimGrade::price, 1, "Price2", RO, 0, kMaxPrice>>;

// LowLevel is configured only: it is not on the wire.
using TankRecord = CRecord<CSimTank, ObjNumber, ObjName, F<&CSimTank::gradeId>,
                          C<&CSimTank::capacity, "Capacity", RW, 0, kMaxAmount>,
                          C<&CSimTank::gaugeCapacity, "GaugeCapacity", RW, 0, kMaxAmount>,
                          F<&CSimTank::gaugeNumber, "Gauge">, F<&CSimTank::portId>, C<&CSimTank::lowLevel, "LowLevel", RO>>;

using PortRecord = CRecord<CSimPort, ObjNumber, ObjName, F<&CSimPort::device, "Device">, F<&CSimPort::settings, "Settings">,
                          F<&CSimPort::type, "Type", RW, 1, 3>, F<&CSimPort::protocol, "Protocol">,
                          F<&CSimPort::enabled, "Enabled">>;

using PumpRecord =
    CRecord<CSimPump, ObjNumber, ObjName, In<&CSimPump::cfg, &CPumpConfig::protocol, "Protocol">,
           In<&CSimPump::cfg, &CPumpConfig::address, "Address">,
           In<&CSimPump::cfg, &CPumpConfig::defaultLevel, "PriceLevel", RW, 1, 2>,
           In<&CSimPump::cfg, &CPumpConfig::autoAuthorise, "AutoAuthorise">,
           In<&CSimPump::cfg, &CPumpConfig::stackSize, "StackSize">, In<&CSimPump::cfg, &CPumpConfig::moneyDecimals>,
           In<&CSimPump::cfg, &CPumpConfig::volumeDecimals>, In<&CSimPump::cfg, &CPumpConfig::priceDecimals>,
           In<&CSimPump::cfg, &CPumpConfig::digits>, In<&CSimPump::cfg, &CPumpConfig::portId>,
           In<&CSimPump::cfg, &CPumpConfig::flow, "", RW, 0, kMaxFlowMls>,
           In<&CSimPump::cfg, &CPumpConfig::prepayAllowed, "Prepay">,
           In<&CSimPump::cfg, &CPumpConfig::preauthAllowed, "Preauth">,
           In<&CSimPump::cfg, &CPumpConfig::tagAllowed, "Tags">, In<&CSimPump::cfg, &CPumpConfig::spare>,
           In<&CSimPump::cfg, &CPumpConfig::zigBeeId>, In<&CSimPump::cfg, &CPumpConfig::sensorId>,
           In<&CSimPump::cfg, &CPumpConfig::beep>, In<&CSimPump::cfg, &CPumpConfig::leds>>;

using AttendantRecord =
    CRecord<CSimAttendant, ObjNumber, ObjName, F<&CSimAttendant::shortName, "ShortName">, F<&CSimAttendant::pin, "PIN">,
           F<&CSimAttendant::tag, "Tag">, F<&CSimAttendant::role, "Role">, F<&CSimAttendant::level, "Level">,
           F<&CSimAttendant::enabled, "Enabled">, F<&CSimAttendant::value9>, F<&CSimAttendant::value10>,
           F<&CSimAttendant::value11>>;

using ZigBeeRecord = CRecord<CSimZigBee, ObjNumber, ObjName, F<&CSimZigBee::type, "Type">, F<&CSimZigBee::address, "Address">,
                            F<&CSimZigBee::firmware, "Firmware">, F<&CSimZigBee::portId>>;

using CardClientRecord =
    CRecord<CSimCardClient, ObjNumber, ObjName, F<&CSimCardClient::prefix, "Prefix">, F<&CSimCardClient::cardType, "Type">,
           F<&CSimCardClient::status, "Status">, F<&CSimCardClient::text6>, F<&CSimCardClient::text7>,
           F<&CSimCardClient::text8>, F<&CSimCardClient::text9>, F<&CSimCardClient::discount>,
           F<&CSimCardClient::odometer>, F<&CSimCardClient::needPin>,
           C<&CSimCardClient::creditLimit, "Limit", RW, 0, kMaxAmount>,
           F<&CSimCardClient::priceLevel, "PriceLevel", RW, 0, 2>, F<&CSimCardClient::expiry>,
           F<&CSimCardClient::account>, F<&CSimCardClient::contact, "Contact">,
           C<&CSimCardClient::balance, "Balance", RW, 0, kMaxAmount>, F<&CSimCardClient::flags>>;

using CardReadRecord = CRecord<CSimCardRead, ObjNumber, ObjName, F<&CSimCardRead::pumpId>, F<&CSimCardRead::reader>,
                              F<&CSimCardRead::cardClientId>, F<&CSimCardRead::tag>, F<&CSimCardRead::when>>;

using SensorRecord = CRecord<CSimSensor, ObjNumber, ObjName, F<&CSimSensor::portId>, F<&CSimSensor::type, "Type">,
                            F<&CSimSensor::address, "Address">, F<&CSimSensor::enabled>, F<&CSimSensor::value7>,
                            F<&CSimSensor::value8>>;

using ProductRecord =
    CRecord<CSimProduct, ObjNumber, ObjName, F<&CSimProduct::code, "Code">, F<&CSimProduct::type, "Type">,
           F<&CSimProduct::text5, "Unit">, F<&CSimProduct::text6>, F<&CSimProduct::value7, "Barcode">,
           C<&CSimProduct::density, "Density">, C<&CSimProduct::value9, "TaxRate">, C<&CSimProduct::value10>,
           C<&CSimProduct::value11>, F<&CSimProduct::value12>>;

using SaleItemRecord =
    CRecord<CSimSaleItem, ObjNumber, F<&CSimSaleItem::productId>, F<&CSimSaleItem::pumpId>,
           F<&CSimSaleItem::clientNumber>, F<&CSimSaleItem::quantity, "Quantity">,
           C<&CSimSaleItem::price, "Price", RW, 0, kMaxPrice>, C<&CSimSaleItem::amount, "", RW, 0, kMaxAmount>,
           F<&CSimSaleItem::created>, F<&CSimSaleItem::cleared>, F<&CSimSaleItem::lockOwner>,
           F<&CSimSaleItem::clearedBy>, F<&CSimSaleItem::state, "", RW, SI_OPEN, SI_CLEARED>, F<&CSimSaleItem::type>,
           At<&CSimSaleItem::text, 0, "Text">, At<&CSimSaleItem::text, 1>, At<&CSimSaleItem::text, 2>,
           At<&CSimSaleItem::text, 3>, F<&CSimSaleItem::flags>>;

using LogEventRecord =
    CRecord<CSimLogEvent, F<&CSimLogEvent::type>, F<&CSimLogEvent::deviceId>, F<&CSimLogEvent::code>,
           F<&CSimLogEvent::device>, F<&CSimLogEvent::level>, F<&CSimLogEvent::state, "", RW, LS_ACTIVE, LS_CLEARED>,
           F<&CSimLogEvent::text>, F<&CSimLogEvent::raised>, F<&CSimLogEvent::cleared>, F<&CSimLogEvent::clearedBy>,
           F<&CSimLogEvent::ackedBy>, AtC<&CSimLogEvent::values, 0>, AtC<&CSimLogEvent::values, 1>,
           AtC<&CSimLogEvent::values, 2>, AtC<&CSimLogEvent::values, 3>, AtC<&CSimLogEvent::values, 4>,
           AtC<&CSimLogEvent::values, 5>>;

// The extended delivery record (GetEx/SetEx); Get/Set carry its first 13 fields. The running
// delivery belongs to its pump, and the state, lock and clearing have calls of their own.
using DeliveryRecord =
    CRecord<CSimDelivery, F<&CSimDelivery::pumpId>, F<&CSimDelivery::hoseNumber>, F<&CSimDelivery::presetType>,
           C<&CSimDelivery::presetValue>, F<&CSimDelivery::priceLevel>,
           C<&CSimDelivery::volume, "", RW, 0, kMaxAmount>, C<&CSimDelivery::money, "", RW, 0, kMaxAmount>,
           C<&CSimDelivery::price, "", RW, 0, kMaxPrice>, F<&CSimDelivery::finished>, F<&CSimDelivery::state, "", RO>,
           F<&CSimDelivery::type>, F<&CSimDelivery::lockOwner, "", RO>, F<&CSimDelivery::attendantId>,
           F<&CSimDelivery::started>, C<&CSimDelivery::volBefore>, C<&CSimDelivery::volAfter>,
           C<&CSimDelivery::moneyBefore>, C<&CSimDelivery::moneyAfter>, C<&CSimDelivery::authorised>,
           C<&CSimDelivery::refund>, F<&CSimDelivery::tag>, F<&CSimDelivery::reserveClient>,
           F<&CSimDelivery::clearedBy, "", RO>, C<&CSimDelivery::netVolume, "", RW, 0, kMaxAmount>>;

using DeliveryExtRecord =
    CRecord<CSimDelivery, F<&CSimDelivery::ext1>, C<&CSimDelivery::ext2>, C<&CSimDelivery::ext3>,
           F<&CSimDelivery::ext4>, F<&CSimDelivery::ext5>, F<&CSimDelivery::ext6>, F<&CSimDelivery::ext7>>;

}  // namespace sim
