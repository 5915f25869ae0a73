# Constants, every unit and every prefix, to the bit.
foreach name {
    amu atm au avogadro boltzman boltzmann c catalan e electroncharge electronmass electronvolt euler faraday
    finestructure gamma gas gravity hbar perfectgasvolume pi planck protonmass rydberg speedlight standardgravity
    standardpressure stefanboltzman stefanboltzmann watertriple
} {
    golden $name double [list zavo_constant $name]
}

# A pure number takes any unit that is divided by one of its own kind.
foreach {kind names} {
    m         {angstrom au feet foot in metre meter mile mill parsec point yard micron}
    kg        {amu g gram lb ounce oz pound slug}
    s         {day hour hr min minute second year}
    K         {celsius degc degf fahrenheit}
    m^2       {acre}
    liter     {m^3 litre}
    pascal    {atm atmosphere bar n/m^2}
    J         {btu erg}
    A         {abampere statampere}
    coulomb   {abcoulomb statcoulomb}
    V         {abvolt}
    N         {dyne poundal}
    tesla*m^2 {maxwell*ampere weber*ampere}
    m^2/s     {stoke}
    pascal*s  {poise}
    s^-1      {hz hertz}
    volt/A    {ohm}
    volt*A    {watt}
} {
    foreach name $names {
        # "^-1" and "*" alone: "/" inverts one factor only
        golden per-$name double [list zavo_constant pi $name*$kind^-1]
    }
}

foreach prefix {
    a f p n u m c k { } g t d dk atto femto pico nano micro milli centi deci deca kilo myria mega giga tera
} {
    set label [string map {{ } blank} $prefix]
    golden prefix-$label double [list zavo_constant rydberg ${prefix}m^-1]
    golden power-$label double [list zavo_constant pi ${prefix}m^2*m^-2]
}
for {set power -12} {$power <= 12} {incr power} {
    golden foot-$power double [list zavo_constant pi foot^$power*m^[expr {-$power}]]
}

foreach {name arguments} {
    feet {c foot/s}  imperial {standardgravity feet/s^2}  gas {gas erg/mole/degf}
    gravity {gravity poundal*foot^2/oz^2}  weight {protonmass N}  psi {atm lb/in^2}
    stefan {stefanboltzmann btu/hour/foot^2/degf^4}  planck {planck erg*hour}  rydberg {rydberg 1/in}
    underflow {pi tm^3*m^-3}  overflow {pi am^3*m^-3}  si {gas s}
    unknown {tau}  unit {pi furlong}  different {c ft/s}  eleven {pi 1*1*1*1*1*1*1*1*1*1*1}  shadow {au au}
} {
    golden with-$name double [list zavo_constant {*}$arguments]
}
golden usage text zavo_constant
