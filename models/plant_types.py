# SPDX-License-Identifier: MIT
"""The data from which make_plant.py generates the shipped model: types, relations, plan types."""

BROWSERS = {
    "ProjectTree": "Project structure",
    "FunctionalTree": "Functional structure",
    "DocumentBrowser": "Documents",
    "PlanBrowser": "Planning",
    "SearchList": "Search results",
}

# The unit of a quantity by the ending of its name; the first match applies.
UNITS = [
    ("Pressure", "bar"), ("Temperature", "°C"), ("Flow", "m³/h"), ("Power", "kW"), ("Head", "m"), ("NPSH", "m"),
    ("Speed", "1/min"), ("Efficiency", "%"), ("Humidity", "%"), ("Opening", "%"), ("Volume", "m³"),
    ("Weight", "kg"), ("Load", "kN"), ("Duty", "MW"), ("Area", "m²"), ("Viscosity", "mPa·s"),
    ("Density", "kg/m³"), ("Voltage", "V"), ("Current", "A"), ("Frequency", "Hz"), ("Length", "mm"),
    ("Diameter", "mm"), ("Thickness", "mm"), ("Width", "mm"), ("Height", "mm"), ("Level", "mm"),
    ("Elevation", "m"), ("Noise", "dB(A)"), ("Torque", "Nm"), ("CrossSection", "mm²"), ("Stress", "N/mm²"),
]

FLUID = ["Pressure", "Temperature", "Flow", "Density", "Viscosity"]
ELECTRIC = ["Voltage", "Current", "Power", "Frequency", "Temperature"]

# name: (base, options). "plain" lists attributes with their kinds (see make_plant.plain_attribute). Each quantity in
# "quantities" becomes one attribute per operating case.
TYPES = {
    # ---- level 1
    "lumbcompbase": ("", {"label": "Component", "listed": False, "searchable": False, "plain": [
        "Name", "Description", "ObjectId", "Revision", "CreatedBy", "CreatedOn@", "ChangedBy", "ChangedOn@",
        "LockedBy", "Remark", "Language=de|en|fr", "Archived?"]}),
    # ---- level 2
    "PlantItem": ("lumbcompbase", {"listed": False, "plain": [
        "TagNumber", "TagPrefix", "TagSuffix", "Service", "Discipline=Process|Piping|Mechanical|Electrical|Civil",
        "ProjectPhase=Concept|Basic|Detail|AsBuilt", "DesignStatus=Preliminary|Checked|Approved|Frozen",
        "ResponsibleEngineer", "CheckedBy", "ApprovedBy", "ApprovedOn@", "Contractor", "WorkPackage",
        "CostCode", "AssetNumber", "SafetyCritical?", "Criticality=Low|Medium|High", "HazardousArea=Zone0|Zone1|Zone2",
        "DrawingNumber", "RequisitionNumber", "Location", "Elevation", "Weight"]}),
    "PlantDocument": ("lumbcompbase", {"plain": [
        "DocumentNumber", "Title", "DocumentClass=Drawing|List|DataSheet|Report", "SheetNumber#", "SheetCount#",
        "PaperSize=A0|A1|A2|A3|A4", "Scale", "Author", "Checker", "Approver", "IssuedOn@", "ReceivedOn@", "Supplier",
        "FileName", "FileFormat=PDF|DWG|DGN|XLSX", "Confidential?", "RetentionYears#", "Transmittal"]}),
    "PlanItem": ("lumbcompbase", {"plain": [
        "PlanNumber", "PlannedStart@", "PlannedEnd@", "ActualStart@", "ActualEnd@", "PercentComplete#",
        "PlanOwner", "Budget#", "Spent#", "CalendarName", "PlanStatus=Open|Running|Done|Cancelled"]}),
    "PlantRelationship": ("lumbcompbase", {"listed": False, "searchable": False, "plain": [
        "relationname", "ValidFrom@", "ValidUntil@"]}),
    "PlanTypeSet": ("lumbcompbase", {"listed": False, "searchable": False, "plain": ["master?"]}),
    "PlanTypeEntry": ("lumbcompbase", {"listed": False, "searchable": False, "plain": [
        "configtypename", "nameshort", "recursiv?", "wscparent?"]}),
    # ---- level 3: places
    "PlantPlace": ("PlantItem", {"listed": False, "plain": [
        "PlaceCode", "GridReference", "NorthCoordinate#", "EastCoordinate#", "GroundElevation", "PlotArea",
        "Owner", "Operator", "EmergencyContact"]}),
    "Site": ("PlantPlace", {"plain": [
        "Country", "Region", "PostalAddress", "TimeZone", "SiteManager", "PermitNumber", "PermitValidUntil@",
        "SeismicZone", "SnowLoad", "WindLoad"], "quantities": ["Temperature", "Humidity", "Pressure"]}),
    "Area": ("PlantPlace", {"plain": ["AreaManager", "AreaClass=Process|Utility|Offsite|Storage", "FireZone",
                                      "Paved?", "DrainageSystem", "EvacuationPoint"]}),
    "Unit": ("PlantPlace", {"plain": ["UnitCode", "ProcessLicensor", "OperatingHours#", "Shutdowns#", "StartUpOn@",
                                      "BatchOperation?", "ControlRoom"],
                            "quantities": ["Flow", "Duty", "Power"]}),
    "Building": ("PlantPlace", {"plain": ["BuildingUse", "Floors#", "FireRating=F30|F60|F90|F120", "Sprinklers?",
                                          "FloorArea", "RoofLoad", "BuildingHeight", "Heated?"]}),
    "Room": ("PlantPlace", {"plain": ["RoomNumber", "FloorLevel", "RoomUse", "VentilationFlow", "AccessLevel",
                                      "RoomHeight", "FloorLoad"], "quantities": ["Temperature", "Humidity", "Noise"]}),
    # ---- level 3: equipment
    "Equipment": ("PlantItem", {"listed": False, "plain": [
        "Manufacturer", "Model", "SerialNumber", "YearOfManufacture#", "PurchaseOrder", "DeliveredOn@",
        "InstalledOn@", "CommissionedOn@", "WarrantyUntil@", "DesignCode=ASME|EN|AD2000|API", "DesignPressure",
        "DesignTemperature", "TestPressure", "MaterialGroup", "CorrosionAllowanceThickness", "InsulationThickness",
        "InsulationType=None|Heat|Cold|Personnel", "PaintSystem", "Noise", "EmptyWeight", "OperatingWeight",
        "SparePartsList", "InspectionInterval#", "NextInspection@", "MaintenancePlan"]}),
    "PipingItem": ("PlantItem", {"listed": False, "plain": [
        "PipeClass", "NominalDiameter", "NominalPressure", "Fluid", "FluidState=Liquid|Gas|Steam|TwoPhase",
        "Insulated?", "TraceHeating=None|Steam|Electric", "WallThickness", "PipeMaterial", "WeldProcedure",
        "NonDestructiveTest", "PipeDesignPressure", "PipeDesignTemperature", "PressureTestMedium", "LineList",
        "IsometricNumber"]}),
    "InstrumentItem": ("PlantItem", {"listed": False, "plain": [
        "LoopNumber", "InstrumentFunction", "SignalType=4-20mA|HART|Fieldbus|Digital", "PowerSupplyVoltage",
        "ProtectionClass=IP54|IP65|IP67|IP68", "ExplosionProtection", "SafetyIntegrityLevel=None|SIL1|SIL2|SIL3",
        "CalibrationInterval#", "LastCalibration@", "CalibrationOffice", "WettedMaterial", "ProcessConnection",
        "CableEntry", "HookUpDrawing", "InstrumentMaker", "InstrumentModel"]}),
    "ElectricalItem": ("PlantItem", {"listed": False, "plain": [
        "NameplateVoltage", "NameplateCurrent", "NameplatePower", "Phases#", "NameplateFrequency", "InsulationClass=A|B|F|H",
        "EnclosureClass=IP23|IP44|IP55|IP65", "SwitchboardName", "FeederNumber", "EarthingSystem=TN-S|TN-C|TT|IT",
        "ShortCircuitCurrent", "ElectricalMaker", "ElectricalModel", "SingleLineDiagram"]}),
    "StructuralItem": ("PlantItem", {"listed": False, "plain": [
        "StructureMark", "SteelGrade=S235|S275|S355", "SectionProfile", "MemberLength", "SurfaceTreatment",
        "FireProtection?", "ErectionSequence#", "ConcreteClass=Lean|Normal|High", "FoundationNumber", "DesignLoad",
        "YieldStress"]}),
    # ---- level 4: families of equipment
    "Pump": ("Equipment", {"plain": [
        "PumpedFluid", "SuctionNozzle", "DischargeNozzle", "SealType=Single|Double|Magnetic|Packing", "SealPlan",
        "BearingType", "CouplingType", "BaseplateType", "PumpMaterialClass", "RotationDirection=CW|CCW"],
        "quantities": ["Flow", "Head", "SuctionPressure", "DischargePressure", "Power", "Speed", "Efficiency",
                       "NPSH", "Temperature", "Density", "Viscosity"]}),
    "Compressor": ("Equipment", {"plain": [
        "CompressedGas", "Stages#", "Intercooled?", "LubricationSystem", "AntiSurgeControl?", "CasingMaterial",
        "MolecularWeightOfGas#"],
        "quantities": ["Flow", "SuctionPressure", "DischargePressure", "SuctionTemperature",
                       "DischargeTemperature", "Power", "Speed", "Efficiency", "Torque"]}),
    # Equipment, the base, defines DesignCode too, and its definition takes precedence.
    "Vessel": ("Equipment", {"plain": [
        "VesselContent", "DesignCode=PD5500|EN13445", "ShellDiameter", "ShellLength", "ShellThickness",
        "HeadThickness", "HeadType=Elliptical|Hemispherical|Torispherical|Flat", "ShellMaterial", "LiningMaterial",
        "Nozzles#", "Manholes#", "SupportType=Skirt|Saddle|Legs|Lugs", "InternalsDescription", "GrossVolume",
        "NetVolume"],
        "quantities": ["Pressure", "Temperature", "Level", "Density"]}),
    "HeatExchanger": ("Equipment", {"plain": [
        "ShellSideFluid", "TubeSideFluid", "ExchangerDuty", "SurfaceArea", "FoulingFactor", "ShellPasses#",
        "TubePasses#", "Tubes#", "TubeDiameter", "TubeLength", "TubeMaterial", "BaffleType", "TemaType"],
        "quantities": ["ShellInletTemperature", "ShellOutletTemperature", "TubeInletTemperature",
                       "TubeOutletTemperature", "ShellFlow", "TubeFlow", "ShellPressure", "TubePressure"]}),
    "Column": ("Equipment", {"plain": [
        "ColumnService", "Trays#", "TraySpacingHeight", "PackingType", "PackingHeight", "ColumnDiameter",
        "ColumnHeight", "RefluxRatio#", "FeedTray#"],
        "quantities": ["TopPressure", "BottomPressure", "TopTemperature", "BottomTemperature", "FeedFlow",
                       "RefluxFlow", "ReboilerDuty"]}),
    "Tank": ("Equipment", {"plain": [
        "TankContent", "RoofType=Fixed|Floating|Dome", "TankDiameter", "TankHeight", "NominalVolume",
        "BundVolume", "OverfillProtection?", "VentSystem", "FoamSystem?"],
        "quantities": ["Level", "Temperature", "InFlow", "OutFlow", "BlanketPressure"]}),
    "Furnace": ("Equipment", {"plain": [
        "FuelType=Gas|Oil|Dual", "Burners#", "BurnerMaker", "StackHeight", "StackDiameter", "RadiantArea",
        "ConvectiveArea", "AirPreheater?"],
        "quantities": ["Duty", "FuelFlow", "FlueGasTemperature", "DraftPressure", "Efficiency"]}),
    "Mixer": ("Equipment", {"plain": ["ImpellerType", "ImpellerDiameter", "ShaftLength", "ShaftMaterial", "GearRatio#"],
                            "quantities": ["Power", "Speed", "Torque", "Viscosity"]}),
    "Filter": ("Equipment", {"plain": ["FilterMedium", "MeshSize", "FilterArea", "CartridgeCount#", "BackwashType"],
                             "quantities": ["Flow", "DifferentialPressure", "Temperature"]}),
    "Package": ("Equipment", {"plain": ["PackageSupplier", "BatteryLimit", "SkidMounted?", "SkidLength", "SkidWidth",
                                        "SkidHeight", "ControlledBy"], "quantities": ["Power", "Flow"]}),
    # ---- level 4: piping, instruments, electrical, structure, documents, planning
    "PipeLine": ("PipingItem", {"plain": ["LineNumber", "FromItem", "ToItem", "LineLength", "Slope#", "Drainable?"],
                                "quantities": FLUID}),
    "PipeSpool": ("PipingItem", {"plain": ["SpoolNumber", "WeldCount#", "ShopWeld?", "SpoolWeight", "SpoolLength",
                                           "FabricatedOn@", "ErectedOn@"]}),
    "PipeFitting": ("PipingItem", {"plain": ["FittingKind=Elbow|Tee|Reducer|Cap|Flange", "EndPreparation", "Angle#",
                                             "SecondDiameter", "FittingStandard"]}),
    "Valve": ("PipingItem", {"plain": [
        "ValveKind=Gate|Globe|Ball|Butterfly|Check", "BodyMaterial", "TrimMaterial", "SeatMaterial", "EndConnection",
        "FaceToFaceLength", "LeakageClass=II|III|IV|V|VI", "HandwheelDiameter", "ValveMaker", "LockedPosition"],
        "quantities": ["Pressure", "Temperature", "Flow", "DifferentialPressure"]}),
    "PipeSupport": ("PipingItem", {"plain": ["SupportKind=Shoe|Hanger|Spring|Anchor|Guide", "SupportStandard"],
                                   "quantities": ["VerticalLoad", "HorizontalLoad", "MovementLength"]}),
    "Transmitter": ("InstrumentItem", {"plain": ["MeasuringPrinciple", "RangeFrom#", "RangeTo#", "RangeUnit", "Accuracy",
                                                 "DampingTime#", "LocalDisplay?", "ManifoldType"],
                                       "quantities": ["Pressure", "Temperature"]}),
    "FinalElement": ("InstrumentItem", {"plain": ["ActuatorType=Pneumatic|Electric|Hydraulic", "FailPosition=Open|Closed|Stay",
                                                  "AirSupplyPressure", "Positioner", "StrokeLength", "LimitSwitches#",
                                                  "SolenoidValve"]}),
    "Controller": ("InstrumentItem", {"plain": ["ControllerName", "ScanTime#", "AnalogInputs#", "AnalogOutputs#",
                                                "DigitalInputs#", "DigitalOutputs#", "RackNumber", "SlotNumber#",
                                                "FirmwareVersion", "Redundant?"]}),
    "Gauge": ("InstrumentItem", {"plain": ["DialDiameter", "GaugeRangeFrom#", "GaugeRangeTo#", "GaugeUnit",
                                           "LiquidFilled?"], "quantities": ["Pressure", "Temperature"]}),
    "Motor": ("ElectricalItem", {"plain": ["FrameSize", "MountingType=B3|B5|B35|V1", "StartingMethod=DOL|StarDelta|VFD",
                                           "PowerFactor#", "EfficiencyClass=IE1|IE2|IE3|IE4", "Poles#",
                                           "ThermalProtection", "SpaceHeater?"],
                                 "quantities": ELECTRIC + ["Speed", "Torque", "Noise"]}),
    "Cable": ("ElectricalItem", {"plain": ["CableNumber", "CableType", "Cores#", "CrossSection", "CableLength",
                                           "FromTerminal", "ToTerminal", "RouteNumber", "PulledOn@", "Armoured?",
                                           "FlameRetardant?"], "quantities": ["Current", "Temperature"]}),
    "Switchgear": ("ElectricalItem", {"plain": ["SwitchboardType", "BusbarCurrent", "Panels#", "ArcProof?",
                                                "BreakerType", "ControlVoltage"], "quantities": ELECTRIC}),
    "Transformer": ("ElectricalItem", {"plain": ["VectorGroup", "PrimaryVoltage", "SecondaryVoltage", "Impedance",
                                                 "CoolingType=ONAN|ONAF|AN", "TapPositions#", "OilVolume"],
                                       "quantities": ELECTRIC}),
    "Lighting": ("ElectricalItem", {"plain": ["LampType=LED|Fluorescent|Sodium", "Luminaires#", "MountingHeight",
                                              "Emergency?", "CircuitNumber"],
                                    "quantities": ELECTRIC}),
    "SteelStructure": ("StructuralItem", {"plain": ["StructureType", "Bays#", "Levels#", "StructureHeight",
                                                    "SteelWeight", "BoltGrade=8.8|10.9"]}),
    "Foundation": ("StructuralItem", {"plain": ["FoundationType=Block|Pile|Raft|Strip", "FoundationLength",
                                                "FoundationWidth", "FoundationHeight", "Piles#", "SoilPressure",
                                                "ConcreteVolume"],
                                      "quantities": ["VerticalLoad", "HorizontalLoad"]}),
    "Platform": ("StructuralItem", {"plain": ["PlatformLevel", "GratingType", "HandrailLength", "Ladders#",
                                              "PlatformLoad", "PlatformArea"]}),
    "Drawing": ("PlantDocument", {"plain": ["DrawingKind=PID|PFD|Layout|Isometric|Loop", "CadSystem", "Layers#",
                                            "ReferenceDrawing", "LastPlotted@"]}),
    "DataSheet": ("PlantDocument", {"plain": ["DataSheetForm", "EquipmentTag", "DataComplete?", "VendorData?",
                                              "DataSheetRevision"]}),
    "Procedure": ("PlantDocument", {"plain": ["ProcedureStep#", "Trained?", "PermitRequired?", "ProcedureOwner"]}),
    "Certificate": ("PlantDocument", {"plain": ["CertificateKind", "IssuedBy", "CertificateValidUntil@", "NotifiedBody"]}),
    "PlanProject": ("PlanItem", {"plain": ["Sponsor", "ProjectCode", "Currency", "ContractKind"]}),
    "PlanPhase": ("PlanItem", {"plain": ["PhaseNumber#", "GateDecision", "GateOn@"]}),
    "PlanTask": ("PlanItem", {"plain": ["TaskKind=Engineering|Procurement|Construction", "EffortHours#", "Assignee",
                                        "Milestone?", "Predecessor"]}),
    # ---- level 5
    "PumpCentrifugal": ("Pump", {"plain": ["ImpellerMaterial", "ImpellerTrimDiameter", "PumpStages#", "CasingSplit=Axial|Radial",
                                           "CurveNumber", "ShutOffHead", "MinimumFlowLine?"],
                                 "quantities": ["ImpellerDiameter", "AxialLoad", "RadialLoad"]}),
    "PumpReciprocating": ("Pump", {"plain": ["Cylinders#", "StrokeVolume", "PulsationDamper?", "ReliefValveSet"],
                                   "quantities": ["PlungerSpeed", "PulsationPressure"]}),
    "PumpScrew": ("Pump", {"plain": ["Spindles#", "RotorMaterial", "StatorMaterial", "DryRunProtection?"],
                             "quantities": ["Torque"]}),
    "PumpSubmersible": ("Pump", {"plain": ["ImmersionHeight", "CableOutletLength", "GuideRail?", "MoistureSensor?"]}),
    "CompressorScrew": ("Compressor", {"plain": ["RotorProfile", "OilFree?", "SlideValve?"],
                                       "quantities": ["OilPressure", "OilTemperature"]}),
    "CompressorTurbo": ("Compressor", {"plain": ["Impellers#", "DryGasSeal?", "InletGuideVanes?"],
                                       "quantities": ["SurgeFlow", "SealGasPressure"]}),
    "VesselHorizontal": ("Vessel", {"plain": ["SaddleSpacingLength", "Boot?", "BootDiameter"]}),
    "VesselVertical": ("Vessel", {"plain": ["SkirtHeight", "SkirtThickness", "Demister?", "LadderIncluded?"],
                                  "quantities": ["LiquidLevel"]}),
    "Reactor": ("Vessel", {"plain": ["Catalyst", "CatalystVolume", "CatalystLife#", "Jacketed?", "AgitatorTag",
                                     "ReactionHeat#"],
                           "quantities": ["ReactionTemperature", "ReactionPressure", "FeedFlow"]}),
    "ExchangerShellTube": ("HeatExchanger", {"plain": ["TubePitch", "TubeLayout=Triangular|Square", "ExpansionBellow?"]}),
    "ExchangerPlate": ("HeatExchanger", {"plain": ["Plates#", "PlateMaterial", "GasketMaterial", "PlateArea"]}),
    "ExchangerAirCooled": ("HeatExchanger", {"plain": ["Fans#", "FanDiameter", "Bundles#", "FinType", "Louvres?"],
                                             "quantities": ["AirFlow", "AirTemperature", "FanPower"]}),
    "ControlValve": ("FinalElement", {"plain": ["FlowCoefficient#", "Characteristic=Linear|EqualPercent|QuickOpening",
                                                "ValveBodySize", "ShutOffPressure", "NoiseReduction?"],
                                      "quantities": FLUID + ["Opening", "Noise"]}),
    "SafetyValve": ("Valve", {"plain": ["SetPressure", "OrificeLetter", "BlowdownPercent#", "DischargeTo", "BalancedBellow?",
                                        "TestedOn@"], "quantities": ["RelievingFlow", "BackPressure"]}),
    "TransmitterFlow": ("Transmitter", {"plain": ["PipeInnerDiameter", "OrificeDiameter", "StraightRunLength"],
                                        "quantities": ["Flow", "Density"]}),
    "TransmitterLevel": ("Transmitter", {"plain": ["ProbeLength", "AntennaType", "InterfaceDetection?"],
                                         "quantities": ["Level"]}),
    "TransmitterPressure": ("Transmitter", {"plain": ["DiaphragmSeal?", "FillFluid", "StaticPressure"]}),
    "TransmitterTemperature": ("Transmitter", {"plain": ["SensorKind=PT100|TypeK|TypeJ", "ThermowellLength",
                                                         "Wires#"],
                                               "quantities": ["ProcessTemperature"]}),
    "MotorInduction": ("Motor", {"plain": ["SlipPercent#", "StarterType", "LockedRotorCurrent", "BearingGrease"]}),
    "MotorSynchronous": ("Motor", {"plain": ["ExcitationVoltage", "ExcitationCurrent", "Brushless?"]}),
    "CablePower": ("Cable", {"plain": ["VoltageDrop#", "BurialHeight", "ParallelRuns#"], "quantities": ["Voltage", "Power"]}),
    "CableInstrument": ("Cable", {"plain": ["Pairs#", "Screened?", "MarshallingCabinet"]}),
}

DOCUMENTS = ["Drawing", "DataSheet", "Procedure", "Certificate"]

# child list: {parent: children}
RELATIONS = {
    "nodes": {
        "Site": "Area Building",
        "Area": "Unit Building SteelStructure Foundation Lighting",
        "Unit": "Pump Compressor Vessel HeatExchanger Column Tank Furnace Mixer Filter Package PipeLine Transmitter "
                "FinalElement Controller Gauge PumpCentrifugal VesselHorizontal ExchangerShellTube MotorInduction "
                "TransmitterFlow ControlValve Motor Switchgear",
        "Building": "Room Foundation Lighting",
        "Room": "Switchgear Transformer Controller",
        "Package": "Pump Compressor Motor PipeLine Controller",
        "PipeLine": "PipeSpool PipeFitting Valve SafetyValve PipeSupport Gauge",
        "Vessel": "Mixer Transmitter SafetyValve",
        "Switchgear": "CablePower",
        "Controller": "CableInstrument",
        "SteelStructure": "Platform",
        "PlanProject": "PlanPhase",
        "PlanPhase": "PlanTask",
    },
    "documents": {
        "Site": "Drawing Procedure",
        "Area": "Drawing Procedure",
        "Unit": "Drawing Procedure Certificate",
        "Equipment": "Drawing DataSheet Certificate Procedure",
        "PipingItem": "Drawing Certificate",
        "InstrumentItem": "DataSheet Certificate Drawing",
        "ElectricalItem": "DataSheet Drawing",
        "StructuralItem": "Drawing",
        "PlanItem": "PlantDocument",
    },
    "spareparts": {
        "Pump": "Equipment",
        "Compressor": "Equipment",
        "Motor": "ElectricalItem",
    },
}

# relation, parent, child; make_plant.py adds the internal reverse relation of each
PPR = [
    ("isDrivenBy", "Pump", "Motor"),
    ("isDrivenBy", "Compressor", "Motor"),
    ("isDrivenBy", "Mixer", "Motor"),
    ("isFedBy", "Motor", "Switchgear"),
    ("isConnectedTo", "PipeLine", "Equipment"),
    ("isMeasuredBy", "PipeLine", "Transmitter"),
    ("isControlledBy", "FinalElement", "Controller"),
    ("standsOn", "Equipment", "Foundation"),
]

# plan type: (short name, may contain itself, types allowed below it)
PLAN = {
    "PlanProject": ("prj", 0, "PlanPhase PlanTask"),
    "PlanPhase": ("pha", 0, "PlanTask"),
    "PlanTask": ("tsk", 1, "PlantDocument"),
}
